// A URDF text read by urdfdom, with the parser's complaints turned into one-line
// errors, loops of joints refused, and the <tolvexkine> block of values URDF has no
// element for.
#ifndef TOLVEX_URDF_URDFDOCUMENT_H
#define TOLVEX_URDF_URDFDOCUMENT_H

#include <map>
#include <string>

#include <urdf_model/model.h>
#include <urdf_world/types.h>

namespace tk::urdf_document {

struct JointExtras {
    double rotor_inertia = 0.0;    // kg m^2
    double acceleration = 0.0;     // rad/s^2
    double friction_offset = 0.0;  // N m
};

// The <tolvexkine gravity="x y z"><joint name=".." rotor_inertia=".." acceleration=".."
// friction_offset=".."/></tolvexkine> block under <robot>; defaults when there is none.
struct Extras {
    double gravity[3] = {0.0, 0.0, -9.81};  // in the root link's frame
    std::map<std::string, JointExtras> joints;
};

struct Document {
    urdf::ModelInterfaceSharedPtr model;  // a tree: every link below one joint but the root
    Extras extras;
};

// Throws Error: "not a valid URDF: <what the parser said>", a loop of joints (refused
// before the parser sees it: it would build links that own each other and never free
// them), or an extra value that is not a finite number or is out of range.
Document read(const std::string& xml);

}  // namespace tk::urdf_document

#endif
