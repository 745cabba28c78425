#include "tools/Models.h"

#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "interface/Globals.h"
#include "interface/ModelFile.h"
#include "interface/RobotIniRoute.h"
#include "tools/Cli.h"
#include "robot/RobotIni.h"
#ifdef TOLVEX_HAVE_URDF
#include "urdf/UrdfImport.h"
#endif
#include "tools/EmbeddedExamples.h"

std::string captureStdout(const std::function<void()>& action)
{
    std::fflush(stdout);
    FILE* sink = std::tmpfile();
    if (!sink)
        throw Failure(std::string("cannot divert standard output: ") + std::strerror(errno));
    int saved = dup(fileno(stdout));
    if (saved < 0) {
        std::fclose(sink);
        throw Failure(std::string("cannot divert standard output: ") + std::strerror(errno));
    }
    dup2(fileno(sink), fileno(stdout));
    action();
    std::fflush(stdout);
    dup2(saved, fileno(stdout));
    close(saved);

    std::string text;
    std::rewind(sink);
    char chunk[512];
    size_t got = 0;
    while ((got = std::fread(chunk, 1, sizeof chunk, sink)) > 0)
        text.append(chunk, got);
    std::fclose(sink);
    return text;
}

std::string TempFile::keep(const std::string& text)
{
    const char* dir = std::getenv("TMPDIR");
    std::string file = std::string(dir && *dir ? dir : "/tmp") + "/tolvex-kine.XXXXXX";
    int fd = mkstemp(&file[0]);
    if (fd < 0)
        throw Failure(std::string("cannot create a temporary file: ") + std::strerror(errno));
    bool written = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(fd);
    if (!written) {
        unlink(file.c_str());
        throw Failure("cannot write a temporary file");
    }
    return file;
}

TempFile::~TempFile() { unlink(path.c_str()); }

std::string modelName(const std::string& path)
{
    return path.empty() ? std::string(kBundledModel.source) + " (bundled)" : path;
}

std::string robotName(const std::string& path)
{
    return path.empty() ? std::string(kBundledRobot.source) + " (bundled)" : path;
}

std::vector<char> readWholeFile(const std::string& path, const std::string& kind)
{
    FILE* file = std::fopen(path.c_str(), "rb");
    if (!file)
        throw Failure(kind + " '" + path + "': " + std::strerror(errno));
    std::vector<char> bytes;
    char chunk[4096];
    size_t got = 0;
    while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0)
        bytes.insert(bytes.end(), chunk, chunk + got);
    bool failed = std::ferror(file) != 0;
    int error = errno;
    std::fclose(file);
    if (failed)
        throw Failure(kind + " '" + path + "': " + std::strerror(error));
    return bytes;
}

namespace {

bool isLineEnd(char c)
{
    return c == '\r' || c == '\n';
}

// 1-based number of the text line holding byte `offset` (LF, CR LF and CR end a line).
long lineAt(const std::vector<char>& text, size_t offset)
{
    long line = 1;
    for (size_t i = 0; i < offset && i < text.size(); ++i)
        if (text[i] == '\n' || (text[i] == '\r' && (i + 1 >= text.size() || text[i + 1] != '\n')))
            ++line;
    return line;
}

// Why the line reader stopped at `start`: the block ends early, the last line has no
// line end, a byte 0xFF ends the file, or the line is too long.
std::string lineReadProblem(const std::vector<char>& text, size_t start, int linesRead)
{
    size_t first = start;
    while (first < text.size() && isLineEnd(text[first]))
        ++first;
    size_t end = first;
    while (end < text.size() && !isLineEnd(text[end]) && text[end] != '\xff')
        ++end;
    std::string line = "line " + std::to_string(lineAt(text, first));
    if (first >= text.size() || text[first] == '\xff')
        return "ends after " + std::to_string(linesRead) + " of the 13 lines of a model block";
    if (end < text.size() && text[end] == '\xff')
        return line + ": a byte 0xFF ends the file";
    if (end - first > 1000)
        return line + " is longer than 1000 characters";
    return line + " has no line end";
}

// Walks the model block with the library's own line reader and number parser to
// name the first line that fails it.
std::string diagnoseModel(std::vector<char>& text)
{
    static const int kNumbersPerLine[13] = {1, 8, 8, 8, 8, 8, 8, 8, 4, 3, 3, 3, 3};
    FILE* stream = fmemopen(text.data(), text.size(), "rb");
    if (!stream)
        return std::string("cannot read: ") + std::strerror(errno);
    std::string problem;
    char line[kModelLineCapacity];
    std::vector<double> values(kModelLineCapacity);  // a 1000-character line holds at most 500
    for (int k = 0; k < 13 && problem.empty(); ++k) {
        size_t start = static_cast<size_t>(std::ftell(stream));
        if (!OnGetLine(stream, line)) {
            problem = lineReadProblem(text, start, k);
            break;
        }
        std::string where = "line " + std::to_string(lineAt(text, std::ftell(stream) - 1));
        long count = 0;
        if (!OnGetValue(line, values.data(), count))
            problem = where + ": malformed number (a second '-' or '.')";
        else if (count != kNumbersPerLine[k])
            problem = where + " holds " + std::to_string(count) + " numbers, " +
                      std::to_string(kNumbersPerLine[k]) + " expected";
        else if (k == 0 && static_cast<long>(values[0] + 0.1) != 1007 &&
                 static_cast<long>(values[0] + 0.1) != 1017)
            problem = where + ": type code " + std::to_string(static_cast<long>(values[0] + 0.1)) +
                      " is neither 1007 nor 1017";
    }
    std::fclose(stream);
    return problem.empty() ? "the model block does not load" : problem;
}

std::vector<char> bundledBytes(const EmbeddedFile& file)
{
    return std::vector<char>(file.data, file.data + file.size);
}

}  // namespace

void loadModelText(std::vector<char> text, const std::string& name)
{
    if (text.empty())
        throw Failure("model file '" + name + "': the file is empty");
    FILE* stream = fmemopen(text.data(), text.size(), "rb");
    if (!stream)
        throw Failure("model file '" + name + "': " + std::strerror(errno));
    bool loaded = false;
    // A coupled model prints its corner curves while it loads; keep them out of the tables.
    captureStdout([&] { loaded = OnInitPilotPilotLmt(stream, &pilot, &lmt); });
    std::fclose(stream);
    if (!loaded)
        throw Failure("model file '" + name + "': " + diagnoseModel(text));
    m_Init_tag = 1;
}

namespace {

std::string bundledRobotFile()
{
    return TempFile::keep(std::string(reinterpret_cast<const char*>(kBundledRobot.data), kBundledRobot.size));
}

bool urdfGiven(const ParsedArgs& args)
{
    if (!args.has("--urdf") && (args.has("--base") || args.has("--tip")))
        throw UsageError("--base and --tip go with --urdf");
    return args.has("--urdf");
}

tk::RobotDescription urdfDescription(const ParsedArgs& args)
{
    const std::string path = args.texts.at("--urdf");
#ifdef TOLVEX_HAVE_URDF
    try {
        return tk::importUrdf(path, args.textOr("--base", ""), args.textOr("--tip", "")).description;
    } catch (const tk::Error& e) {
        throw UsageError("urdf '" + path + "': " + e.what());
    }
#else
    throw UsageError("urdf '" + path + "': this tool was built without URDF support (Debian package liburdfdom-dev)");
#endif
}

}  // namespace

std::vector<char> modelBytes(const std::string& path)
{
    return path.empty() ? bundledBytes(kBundledModel) : readWholeFile(path, "model file");
}

void loadModel(const std::string& path)
{
    loadModelText(modelBytes(path), modelName(path));
}

void loadModel(const EmbeddedFile& bundled)
{
    loadModelText(bundledBytes(bundled), std::string(bundled.source) + " (bundled)");
}

std::string loadRobotIni(const std::string& path, bool* ok)
{
    const std::string file = path.empty() ? bundledRobotFile() : path;
    int result = 0;
    std::string lines = captureStdout([&] { result = OnInitKine(file.c_str()); });
    if (path.empty())
        unlink(file.c_str());
    *ok = result == 1;
    return lines;
}

void loadRobot(const std::string& path)
{
    bool ok = false;
    std::string lines = loadRobotIni(path, &ok);
    if (ok)
        return;
    while (!lines.empty() && isLineEnd(lines.back()))
        lines.pop_back();
    size_t lastBreak = lines.find_last_of('\n');
    std::string verdict = lastBreak == std::string::npos ? lines : lines.substr(lastBreak + 1);
    if (verdict.empty() || verdict.find("success") != std::string::npos)
        verdict = "arm 0 has a link count (Dof) outside 0..7";
    throw Failure("robot file '" + robotName(path) + "': " + verdict);
}

tk::Robot robotOf(const ParsedArgs& args)
{
    if (!urdfGiven(args))
        return loadProductRobot(args.textOr("--robot", ""));
    try {
        return tk::Robot(urdfDescription(args));
    } catch (const tk::Error& e) {
        throw UsageError("urdf '" + args.texts.at("--urdf") + "': " + e.what());
    }
}

void loadModelOf(const ParsedArgs& args)
{
    if (!urdfGiven(args)) {
        loadModel(args.textOr("--model", ""));
        return;
    }
    const tk::Robot robot = robotOf(args);
    const std::string name = "urdf '" + args.texts.at("--urdf") + "'";
    if (!robot.hasAnalyticIk())
        throw UsageError(name + ": no numeric model, the arm has not the analytic-IK form: " + robot.analyticIkReason());
    const std::string text = robot.analytic()->modelFileText();
    loadModelText(std::vector<char>(text.begin(), text.end()), name + " (its numeric model)");
}

void loadRobotOf(const ParsedArgs& args)
{
    if (!urdfGiven(args)) {
        loadRobot(args.textOr("--robot", ""));
        return;
    }
    const TempFile file(tk::robotIniText(robotOf(args).description()));
    bool ok = false;
    const std::string lines = loadRobotIni(file.path, &ok);
    if (!ok)
        throw Failure("urdf '" + args.texts.at("--urdf") + "': its robot.ini does not load: " + lines);
}

void requireSevenLinks(const std::string& command)
{
    if (rob.n != 7)
        throw Failure(command + ": the robot has " + std::to_string(rob.n) +
                      " links in arm 0, 7 needed");
}

namespace {

// readRobotIni of the file at `path`, or of the bundled examples/robot.ini when empty.
tk::RobotDescription readRobotDescription(const std::string& path)
{
    if (!path.empty())
        return tk::readRobotIni(path);
    const TempFile file(std::string(reinterpret_cast<const char*>(kBundledRobot.data), kBundledRobot.size));
    return tk::readRobotIni(file.path);
}

}  // namespace

tk::Robot loadProductRobot(const std::string& path)
{
    try {
        return tk::Robot(readRobotDescription(path));
    } catch (const tk::Error& e) {
        throw UsageError(e.what());  // a file that cannot be used, as for every other input
    }
}

void requireOneArm(const std::string& command, const ParsedArgs& args)
{
    if (args.has("--model") + args.has("--robot") + args.has("--urdf") > 1)
        throw UsageError(command + ": give one of --model, --robot, --urdf (see 'tolvex-kine " + command + " --help')");
}

tk::Robot givenRobot(const std::string& command, const ParsedArgs& args, std::string* name)
{
    requireOneArm(command, args);
    const bool urdf = urdfGiven(args);
    const std::string source = urdf ? args.texts.at("--urdf") : robotName(args.textOr("--robot", ""));
    try {
        tk::Robot robot(urdf ? urdfDescription(args) : readRobotDescription(args.textOr("--robot", "")));
        const std::string& called = robot.description().name;
        *name = called.empty() ? source : "\"" + called + "\" from " + source;
        return robot;
    } catch (const tk::Error& e) {
        throw UsageError((urdf ? "urdf '" + source + "': " : std::string()) + e.what());
    }
}
