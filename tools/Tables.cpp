#include "tools/Tables.h"

#include <cmath>

#include "math/FxScalar.h"
#include "tools/PrintedValues.h"

std::vector<std::string> jointColumns(const char* unit, int count)
{
    std::vector<std::string> names;
    for (int i = 1; i <= count; ++i)
        names.push_back("q" + std::to_string(i) + " [" + unit + "]");
    return names;
}

std::vector<std::string> xyzabcColumns()
{
    return {"x [mm]", "y [mm]", "z [mm]", "A [deg]", "B [deg]", "C [deg]"};
}

std::vector<std::string> columns(std::vector<std::string> first,
                                 const std::vector<std::string>& more)
{
    first.insert(first.end(), more.begin(), more.end());
    return first;
}

void appendNumbers(std::vector<Cell>& row, const double* values, int count, int decimals)
{
    for (int i = 0; i < count; ++i)
        row.push_back(num(values[i], decimals));
}

Table xyzabcTable(const std::string& title, double pose[4][4], double toMm)
{
    Table table{title, xyzabcColumns(), {}};
    double values[6];
    poseToXyzabc(pose, toMm, values);
    std::vector<Cell> row;
    appendNumbers(row, values, 6);
    table.addRow(row);
    return table;
}

Table poseMatrixTable(const std::string& title, double pose[4][4], const char* unit, int decimals)
{
    Table table{title, {"row", "c0", "c1", "c2", std::string("c3 [") + unit + "]"}, {}};
    for (int r = 0; r < 4; ++r) {
        std::vector<Cell> row{word(std::to_string(r))};
        for (int c = 0; c < 3; ++c)
            row.push_back(num(pose[r][c], 6));
        row.push_back(num(pose[r][3], decimals));
        table.addRow(row);
    }
    return table;
}

void poseDifference(double a[4][4], double b[4][4], double* distance, double* angleDeg)
{
    double dx = a[0][3] - b[0][3], dy = a[1][3] - b[1][3], dz = a[2][3] - b[2][3];
    *distance = std::sqrt(dx * dx + dy * dy + dz * dz);
    // R = Ra^T Rb: its trace is 1 + 2 cos(angle), its skew part 2 sin(angle) times the axis.
    double r[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r[i][j] = a[0][i] * b[0][j] + a[1][i] * b[1][j] + a[2][i] * b[2][j];
    double sx = r[2][1] - r[1][2], sy = r[0][2] - r[2][0], sz = r[1][0] - r[0][1];
    double twiceSine = std::sqrt(sx * sx + sy * sy + sz * sz);
    *angleDeg = std::atan2(twiceSine, r[0][0] + r[1][1] + r[2][2] - 1.0) * FX_RAD2DEG;
}

Table statusTable(const unsigned char* flags, int count)
{
    Table table{"Status bytes", {"byte", "value", "meaning"}, {}};
    static const char* const kNames[4] = {"flag1", "flag2", "flag3", "pose"};
    for (int i = 0; i < count; ++i)
        table.addRow({word(kNames[i]), num(flags[i], 0), word(ikFlagMeaning(i, flags[i]))});
    return table;
}

std::string joinNumbers(const double* values, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += (i ? ", " : "") + formatNumber(values[i], 2);
    return text;
}

Table fkCheckTable(double target[4][4], double reached[4][4])
{
    double distance = 0.0, angle = 0.0;
    poseDifference(target, reached, &distance, &angle);
    Table table{"Check: forward kinematics of the solution against the target",
                {"position error [mm]", "orientation error [deg]"}, {}};
    table.addRow({num(distance, 6), num(angle, 6)});
    return table;
}
