/* The robot object of a URDF for C hosts (library tolvexkine_urdf): the chain from `base`
   to `tip` (null or "": the root and the one leaf of the movable joints). Null, with one
   line in `error`, for a file that cannot be used. Free it with tk_robot_free. */
#ifndef TOLVEX_URDF_URDFC_H
#define TOLVEX_URDF_URDFC_H

#include <stddef.h>

#include "robot/RobotC.h"

#ifdef __cplusplus
extern "C" {
#endif

tk_robot* tk_robot_from_urdf(const char* path, const char* base, const char* tip, char* error, size_t error_size);

#ifdef __cplusplus
}
#endif

#endif
