// The view command: one self-contained HTML page that shows the arm in 3D and
// computes with the library compiled to WebAssembly. The page is bundled into the
// tool at build time; the arm's description and a motion to play go into it here,
// so the page loads them with the library's own readers: a model file as it is, a
// robot.ini or URDF arm as the robot.ini of the robot object built from it here.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/Commands.h"
#include "tools/EmbeddedPage.h"
#include "robot/RobotIni.h"
#include "tools/Models.h"
#include "viewer/MotionCsv.h"

namespace {

const char* const kDefaultPage = "tolvex-view.html";

// What the page gets for one file: a name to show and the bytes, base64-encoded.
std::string base64(const std::vector<char>& bytes)
{
    static const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        unsigned long group = static_cast<unsigned char>(bytes[i]) << 16;
        if (i + 1 < bytes.size())
            group |= static_cast<unsigned char>(bytes[i + 1]) << 8;
        if (i + 2 < bytes.size())
            group |= static_cast<unsigned char>(bytes[i + 2]);
        out += kDigits[(group >> 18) & 63];
        out += kDigits[(group >> 12) & 63];
        out += i + 1 < bytes.size() ? kDigits[(group >> 6) & 63] : '=';
        out += i + 2 < bytes.size() ? kDigits[group & 63] : '=';
    }
    return out;
}

// A JSON string that is safe inside an HTML script element.
std::string jsonText(const std::string& text)
{
    std::string out = "\"";
    for (char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (byte < 0x20 || c == '<' || c == '>' || c == '&') {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
            out += escaped;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

std::string fileJson(const std::string& name, const std::vector<char>& bytes, const std::string& extra = "")
{
    return "{" + extra + "\"name\": " + jsonText(name) + ", \"base64\": \"" + base64(bytes) + "\"}";
}

// The arm as the page loads it, refused here when the library cannot load it: a model
// file as it is, a robot (robot.ini or URDF) as the robot object's robot.ini, which the
// page reads back into the same robot. *dof: the arm's joints.
std::string armJson(const ParsedArgs& args, int* dof)
{
    requireOneArm("view", args);
    if (args.has("--model")) {
        const std::string path = args.texts.at("--model");
        std::vector<char> bytes = modelBytes(path);
        loadModelText(bytes, modelName(path));
        *dof = 7;
        return fileJson(modelName(path), bytes, "\"description\": \"model\", ");
    }
    std::string name;
    const tk::Robot robot = givenRobot("view", args, &name);
    *dof = robot.dof();
    const std::string text = tk::robotIniText(robot.description());
    return fileJson(name, std::vector<char>(text.begin(), text.end()), "\"description\": \"robot\", ");
}

std::string motionJson(const ParsedArgs& args, int dof)
{
    if (!args.has("--motion"))
        return "null";
    const std::string path = args.texts.at("--motion");
    std::vector<char> bytes = readWholeFile(path, "motion file");
    std::vector<MotionRow> rows;
    const std::string why = readMotionCsv(bytes.data(), bytes.size(), dof, rows);
    if (!why.empty())
        throw Failure("motion file '" + path + "': " + why);
    return fileJson(path, bytes);
}

}  // namespace

int runView(const ParsedArgs& args)
{
    if (kViewPage[0] == '\0')
        throw UsageError(std::string("view: the page was not built: ") + kViewPageMissing);
    int dof = 0;
    const std::string arm = armJson(args, &dof);
    const std::string data = "{\"robot\": " + arm + ", \"motion\": " + motionJson(args, dof) + "}";
    std::string page = kViewPage;
    page.replace(page.find(kViewDataMark), std::strlen(kViewDataMark), data);

    const std::string path = args.textOr("-o", kDefaultPage);
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        throw Failure("view: cannot write '" + path + "': " + std::strerror(errno));
    const bool written = std::fwrite(page.data(), 1, page.size(), file) == page.size();
    if (std::fclose(file) != 0 || !written)
        throw Failure("view: cannot write '" + path + "': " + std::strerror(errno));
    Report report(formatOf(args));
    report.note("wrote " + path + " (" + std::to_string((page.size() + 512) / 1024) +
                " KB): open it in a browser, no server or network needed");
    report.print(stdout);
    return 0;
}
