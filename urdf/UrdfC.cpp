#include "urdf/UrdfC.h"

#include <cstring>
#include <new>

#include "urdf/UrdfImport.h"

extern "C" tk_robot* tk_robot_from_urdf(const char* path, const char* base, const char* tip, char* error,
                                         size_t error_size)
{
    try {
        if (!path)
            throw tk::Error("no URDF path");
        const tk::UrdfImport in = tk::importUrdf(path, base ? base : "", tip ? tip : "");
        return tk_robot_from_description(in.description, error, error_size);
    } catch (const std::exception& e) {
        if (error && error_size > 0) {
            std::strncpy(error, e.what(), error_size - 1);
            error[error_size - 1] = '\0';
        }
        return nullptr;
    }
}
