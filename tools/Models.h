// Loading the two model descriptions into the library's global records for the
// tool: the numeric model file (Pilot arm) and robot.ini (link chain, locked-joint
// IK), from a path or from the copies bundled in the binary, with the library's
// console lines kept out of the tool's output; and the robot object of a robot.ini
// or a URDF for the commands on it.
#ifndef TOLVEX_TOOLS_MODELS_H
#define TOLVEX_TOOLS_MODELS_H

#include <functional>
#include <string>
#include <vector>

#include "dynamics/FxChain.h"
#include "robot/Robot.h"
#include "tools/Cli.h"
#include "tools/EmbeddedExamples.h"

// A private temporary file holding `text`, removed with the object (the library's
// loaders read paths). keep() leaves the removing to the caller.
struct TempFile {
    explicit TempFile(const std::string& text) : path(keep(text)) {}
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    static std::string keep(const std::string& text);
    const std::string path;
};

// Runs `action` with standard output diverted and returns what it printed.
std::string captureStdout(const std::function<void()>& action);

// Sets up the global `pilot` and `lmt` from the model file at `path` (empty:
// the bundled examples/model-1017.txt) and sets m_Init_tag. Throws Failure
// "model file '<path>': <what is wrong>" for an unreadable or malformed file.
void loadModel(const std::string& path);
// The same from one of the bundled examples.
void loadModel(const EmbeddedFile& bundled);
// The whole file at `path`; throws Failure "<kind> '<path>': <reason>" when it cannot be read.
std::vector<char> readWholeFile(const std::string& path, const std::string& kind);
// The bytes of the model file at `path` (empty: the bundled examples/model-1017.txt);
// throws Failure "model file '<path>': <reason>" when it cannot be read.
std::vector<char> modelBytes(const std::string& path);
// loadModel from bytes already read, shown under `name` in a failure.
void loadModelText(std::vector<char> text, const std::string& name);

// Name under which a model or robot file is shown: the path, or the bundled example.
std::string modelName(const std::string& path);
std::string robotName(const std::string& path);

// Loads robot.ini from `path` (empty: the bundled examples/robot.ini) through
// OnInitKine. Returns the loader's console lines; *ok tells whether it succeeded.
std::string loadRobotIni(const std::string& path, bool* ok);
// loadRobotIni that throws Failure "robot file '<path>': <loader's message>".
void loadRobot(const std::string& path);

// Throws Failure "<command>: the robot has n links in arm 0, 7 needed" unless the chain has 7.
void requireSevenLinks(const std::string& command);

// The robot object of the robot.ini at `path` (empty: the bundled examples/robot.ini),
// with its own link dynamics. Throws UsageError with the file's fault in one line.
tk::Robot loadProductRobot(const std::string& path);

// What the command line describes: --urdf FILE (with --base and --tip), else --model or
// --robot, else the bundled examples. A URDF that cannot be used throws UsageError
// "urdf 'FILE': <element>: <reason>"; one without the analytic form, where the Pilot
// model is needed, throws UsageError saying why.
tk::Robot robotOf(const ParsedArgs& args);
// The Pilot model into `pilot` and `lmt`: the model file, or the numeric model fitted to the URDF.
void loadModelOf(const ParsedArgs& args);
// The robot.ini route into `rob` and `ik`: the file, or the robot.ini written for the URDF.
void loadRobotOf(const ParsedArgs& args);

// Throws UsageError when more than one of --model, --robot, --urdf is given.
void requireOneArm(const std::string& command, const ParsedArgs& args);
// The robot object a command is given: --robot FILE (robot.ini) or --urdf FILE [--base LINK]
// [--tip LINK]; neither: the bundled examples/robot.ini. *name: its name and file, for titles.
// Throws UsageError with the file's fault in one line ("urdf 'FILE': ..." for a URDF).
tk::Robot givenRobot(const std::string& command, const ParsedArgs& args, std::string* name);

#endif
