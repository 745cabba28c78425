// urdf: the robot as a URDF document with its own dynamics, so that the arm can be shown
// in the usual visualisers and loaded by other libraries; import reads it back as the same robot.
#include <cstdio>

#include "tools/Commands.h"
#include "tools/Models.h"
#ifdef TOLVEX_HAVE_URDF
#include "urdf/UrdfExport.h"
#endif

int runUrdf(const ParsedArgs& args)
{
#ifdef TOLVEX_HAVE_URDF
    const std::string xml = tk::exportUrdf(robotOf(args).description());
    const std::string path = args.textOr("-o", "");
    if (path.empty()) {
        std::fputs(xml.c_str(), stdout);
        return 0;
    }
    FILE* out = std::fopen(path.c_str(), "w");
    bool written = out != nullptr && std::fputs(xml.c_str(), out) >= 0;
    if (out != nullptr && std::fclose(out) != 0)
        written = false;
    if (!written)
        throw Failure("urdf: cannot write '" + path + "'");
    return 0;
#else
    (void)args;
    throw UsageError("urdf: this tool was built without URDF support (Debian package liburdfdom-dev)");
#endif
}
