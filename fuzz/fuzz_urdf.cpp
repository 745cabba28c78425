// The URDF route: an import from the fuzzer's text and, when it is accepted, its
// description written out and read back, which must succeed.
#include <cstdint>
#include <string>

#include "urdf/UrdfExport.h"
#include "urdf/UrdfImport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    tk::UrdfImport first;
    try {
        first = tk::importUrdfString(std::string(reinterpret_cast<const char*>(data), size));
    } catch (const tk::Error&) {
        return 0;
    }
    const tk::UrdfImport again = tk::importUrdfString(tk::exportUrdf(first.description));
    if (again.description.dof != first.description.dof)
        __builtin_trap();
    return 0;
}
