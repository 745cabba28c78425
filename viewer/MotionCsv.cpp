#include "viewer/MotionCsv.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace {

// The fields of one line, split at commas, each without surrounding blanks.
std::vector<std::string> splitFields(const std::string& line)
{
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (;;) {
        std::size_t comma = line.find(',', start);
        std::string field = line.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        std::size_t first = field.find_first_not_of(" \t");
        std::size_t last = field.find_last_not_of(" \t");
        fields.push_back(first == std::string::npos ? std::string() : field.substr(first, last - first + 1));
        if (comma == std::string::npos)
            return fields;
        start = comma + 1;
    }
}

// True when the whole field is a number (nan and inf included).
bool parseField(const std::string& field, double* value)
{
    if (field.empty() || field.size() > 64)
        return false;
    char* end = nullptr;
    errno = 0;
    *value = std::strtod(field.c_str(), &end);
    return *end == '\0';
}

std::string columnName(int column, int joints)
{
    static const char* const kPose[7] = {"x", "y", "z", "A", "B", "C", "arm angle"};
    if (column == 0)
        return "t";
    if (column <= joints)
        return "q" + std::to_string(column);
    return kPose[column - joints - 1];
}

std::string layout(int joints)
{
    return std::to_string(motionColumns(joints)) + " expected: t, q1..q" + std::to_string(joints) +
           ", x, y, z, A, B, C, arm angle";
}

}  // namespace

std::string readMotionCsv(const char* text, std::size_t size, int joints, std::vector<MotionRow>& rows)
{
    rows.clear();
    if (joints < 1 || joints > kMotionMaxJoints)
        return "an arm of " + std::to_string(joints) + " joints cannot be played back (1 to " +
               std::to_string(kMotionMaxJoints) + ")";
    const int columns = motionColumns(joints);
    bool headerSeen = false;
    std::string previousTime;
    std::size_t lineNumber = 0;
    std::size_t pos = 0;
    auto fail = [&](const std::string& why) {
        rows.clear();
        return "line " + std::to_string(lineNumber) + ": " + why;
    };
    while (pos < size) {
        std::size_t end = pos;
        while (end < size && text[end] != '\n' && text[end] != '\r')
            ++end;
        std::string line(text + pos, end - pos);
        ++lineNumber;
        pos = end + ((end + 1 < size && text[end] == '\r' && text[end + 1] == '\n') ? 2 : 1);
        if (line.find('\0') != std::string::npos)
            return fail("holds a zero byte; a text file is expected");
        if (line.find_first_not_of(" \t") == std::string::npos || line[0] == '#')
            continue;
        std::vector<std::string> fields = splitFields(line);
        double value = 0.0;
        if (!parseField(fields[0], &value)) {
            if (headerSeen || !rows.empty())
                return fail("a second table begins ('" + fields[0].substr(0, 40) + "'); one motion table expected");
            headerSeen = true;
            continue;
        }
        if (static_cast<int>(fields.size()) != columns)
            return fail(std::to_string(fields.size()) + " fields, " + layout(joints));
        if (rows.size() == kMotionMaxRows)
            return fail("more than " + std::to_string(kMotionMaxRows) + " rows");
        MotionRow row{};
        double values[motionColumns(kMotionMaxJoints)];
        for (int c = 0; c < columns; ++c) {
            if (!parseField(fields[c], &values[c]))
                return fail(columnName(c, joints) + " '" + fields[c].substr(0, 40) + "' is not a number");
            if (c <= joints && !std::isfinite(values[c]))
                return fail(columnName(c, joints) + " is not finite");
        }
        row.time = values[0];
        for (int i = 0; i < joints; ++i)
            row.joints[i] = values[1 + i];
        for (int i = 0; i < 6; ++i)
            row.pose[i] = values[1 + joints + i];
        row.armAngle = values[columns - 1];
        if (!rows.empty() && !(row.time > rows.back().time))
            return fail("time " + fields[0] + " s is not after the previous row's " + previousTime + " s");
        previousTime = fields[0];
        rows.push_back(row);
    }
    if (rows.empty())
        return "no rows of motion; " + layout(joints);
    return "";
}
