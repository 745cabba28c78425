#include "urdf/UrdfDocument.h"

#include <console_bridge/console.h>
#include <tinyxml.h>
#include <urdf_parser/urdf_parser.h>

#include <cmath>
#include <locale>
#include <map>
#include <mutex>
#include <sstream>
#include <vector>

#include "robot/Error.h"

namespace tk::urdf_document {

namespace {

// The XML parser recurses once per element level: deeper files would exhaust the stack
// before they could fail. A URDF needs five levels.
constexpr int kMaxDepth = 100;

// How deeply elements nest, counted over the tags alone (comments, CDATA, declarations
// and quoted attribute values skipped); the parser judges everything else.
int elementDepth(const std::string& text)
{
    int depth = 0, deepest = 0;
    size_t i = 0;
    const auto skipPast = [&](const char* end) {
        const size_t at = text.find(end, i);
        i = at == std::string::npos ? text.size() : at + std::char_traits<char>::length(end);
    };
    while ((i = text.find('<', i)) != std::string::npos) {
        if (text.compare(i, 4, "<!--") == 0)
            skipPast("-->");
        else if (text.compare(i, 9, "<![CDATA[") == 0)
            skipPast("]]>");
        else if (text.compare(i, 2, "<?") == 0)
            skipPast("?>");
        else if (text.compare(i, 2, "<!") == 0)
            skipPast(">");
        else if (text.compare(i, 2, "</") == 0) {
            depth = depth > 0 ? depth - 1 : 0;
            skipPast(">");
        } else {
            char quote = 0, last = 0;
            for (++i; i < text.size(); ++i) {
                const char c = text[i];
                if (quote != 0) {
                    if (c == quote)
                        quote = 0;
                } else if (c == '"' || c == '\'') {
                    quote = c;
                } else if (c == '>') {
                    break;
                } else if (c != ' ' && c != '\t' && c != '\n' && c != '\r') {
                    last = c;
                }
            }
            ++i;
            if (last != '/' && ++depth > deepest)
                deepest = depth;
        }
    }
    return deepest;
}

// Collects the parser's error messages while one parse runs.
class ErrorCollector : public console_bridge::OutputHandler {
public:
    void log(const std::string& text, console_bridge::LogLevel level, const char*, int) override
    {
        if (level < console_bridge::CONSOLE_BRIDGE_LOG_ERROR)
            return;
        std::string line;
        for (char c : text)
            line += c == '\n' || c == '\r' || c == '\t' ? ' ' : c;
        while (!line.empty() && line.back() == ' ')
            line.pop_back();
        if (!errors.empty())
            errors += "; ";
        errors += line;
    }
    std::string errors;
};

// The parser reports through one process-wide handler; parses take turns at it and
// leave the host's handler and level as they were.
urdf::ModelInterfaceSharedPtr parseCollecting(const std::string& xml, std::string& errors)
{
    static std::mutex turn;
    static ErrorCollector collector;
    std::lock_guard<std::mutex> hold(turn);
    collector.errors.clear();
    const console_bridge::LogLevel level = console_bridge::getLogLevel();
    console_bridge::setLogLevel(console_bridge::CONSOLE_BRIDGE_LOG_ERROR);
    console_bridge::useOutputHandler(&collector);
    urdf::ModelInterfaceSharedPtr model;
    try {
        model = urdf::parseURDF(xml);
    } catch (const std::exception& e) {
        collector.errors += collector.errors.empty() ? e.what() : std::string("; ") + e.what();
        model.reset();
    }
    console_bridge::restorePreviousOutputHandler();
    console_bridge::setLogLevel(level);
    errors = collector.errors;
    return model;
}

bool parseReals(const char* text, double* out, int count)
{
    if (text == nullptr)
        return false;
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    for (int k = 0; k < count; ++k)
        if (!(in >> out[k]) || !std::isfinite(out[k]))
            return false;
    in >> std::ws;
    return in.eof();
}

// An optional non-negative attribute of a <tolvexkine> joint.
void readAmount(const TiXmlElement& joint, const std::string& jointName, const char* attribute, double& out)
{
    const char* text = joint.Attribute(attribute);
    if (text == nullptr)
        return;
    if (!parseReals(text, &out, 1))
        throw Error("<tolvexkine> joint '" + jointName + "': " + attribute + " '" + text +
                    "' is not a finite number");
    if (out < 0.0)
        throw Error("<tolvexkine> joint '" + jointName + "': " + attribute + " " + text + " is negative");
}

Extras readExtras(const TiXmlElement& robot)
{
    Extras extras;
    const TiXmlElement* block = robot.FirstChildElement("tolvexkine");
    if (block == nullptr)
        return extras;
    if (const char* gravity = block->Attribute("gravity"))
        if (!parseReals(gravity, extras.gravity, 3))
            throw Error(std::string("<tolvexkine>: gravity '") + gravity + "' is not three finite numbers");
    for (const TiXmlElement* joint = block->FirstChildElement("joint"); joint != nullptr;
         joint = joint->NextSiblingElement("joint")) {
        const char* name = joint->Attribute("name");
        if (name == nullptr)
            throw Error("<tolvexkine>: a joint without a name");
        JointExtras& values = extras.joints[name];
        readAmount(*joint, name, "rotor_inertia", values.rotor_inertia);
        readAmount(*joint, name, "acceleration", values.acceleration);
        const char* offset = joint->Attribute("friction_offset");
        if (offset != nullptr && !parseReals(offset, &values.friction_offset, 1))
            throw Error(std::string("<tolvexkine> joint '") + name + "': friction_offset '" + offset +
                        "' is not a finite number");
    }
    return extras;
}

std::string linkOf(const TiXmlElement& joint, const char* end)
{
    const TiXmlElement* element = joint.FirstChildElement(end);
    const char* link = element == nullptr ? nullptr : element->Attribute("link");
    return link == nullptr ? "" : link;
}

// Every link below at most one joint, and no link above itself.
void refuseLoops(const TiXmlElement& robot)
{
    std::map<std::string, std::pair<std::string, std::string>> above;  // link -> its joint, parent link
    for (const TiXmlElement* joint = robot.FirstChildElement("joint"); joint != nullptr;
         joint = joint->NextSiblingElement("joint")) {
        const char* named = joint->Attribute("name");
        const std::string name = named == nullptr ? "" : named, parent = linkOf(*joint, "parent"),
                          child = linkOf(*joint, "child");
        if (parent.empty() || child.empty())
            continue;  // the parser names what is missing
        if (parent == child)
            throw Error("joint '" + name + "': its parent and child are both link '" + child + "' (a loop)");
        const auto [at, first] = above.emplace(child, std::make_pair(name, parent));
        if (!first)
            throw Error("link '" + child + "': child of two joints, '" + at->second.first + "' and '" + name +
                        "' (a loop)");
    }
    // Climb from each link; meeting a link of the same climb closes a loop.
    std::map<std::string, int> climb;  // 0 not yet, -1 leads to the root, else the climb on it
    int current = 0;
    for (const auto& entry : above) {
        ++current;
        std::vector<std::string> climbed;
        std::string link = entry.first;
        while (above.count(link) != 0 && climb[link] == 0) {
            climb[link] = current;
            climbed.push_back(link);
            link = above.at(link).second;
        }
        if (above.count(link) != 0 && climb[link] == current)
            throw Error("link '" + link + "': on a loop of joints");
        for (const std::string& done : climbed)
            climb[done] = -1;
    }
}

}  // namespace

Document read(const std::string& xml)
{
    if (elementDepth(xml) > kMaxDepth)
        throw Error("not a valid URDF: elements nest deeper than " + std::to_string(kMaxDepth) + " levels");
    Document document;
    TiXmlDocument parsed;
    parsed.Parse(xml.c_str());
    if (const TiXmlElement* robot = parsed.FirstChildElement("robot")) {
        refuseLoops(*robot);
        document.extras = readExtras(*robot);
    }
    std::string errors;
    document.model = parseCollecting(xml, errors);
    // The parser goes on past some faults (an inertial it could not read is left out):
    // any complaint refuses the file.
    if (document.model == nullptr || !errors.empty())
        throw Error("not a valid URDF: " + (errors.empty() ? std::string("the parser gave no model") : errors));
    return document;
}

}  // namespace tk::urdf_document
