// A motion as `tolvex-kine move --csv` writes it, read back for playback: one row
// per cycle of time, joints, tool pose and arm angle. The tool checks a file with
// it before embedding it in a page, and the page reads files with it too.
#ifndef TOLVEX_VIEWER_MOTIONCSV_H
#define TOLVEX_VIEWER_MOTIONCSV_H

#include <cstddef>
#include <string>
#include <vector>

constexpr int kMotionMaxJoints = 7;
constexpr std::size_t kMotionMaxRows = 1000000;

struct MotionRow {
    double time;                       // s
    double joints[kMotionMaxJoints];   // deg; the first `joints` of the file are used
    double pose[6];                    // x, y, z [mm], A, B, C [deg]; may be NaN
    double armAngle;                   // deg; may be NaN
};

// Number of fields a row has for an arm of `joints` joints: t, q1..qn, x, y, z, A, B, C, arm angle.
constexpr int motionColumns(int joints) { return joints + 8; }

// Reads `size` bytes of CSV. Blank lines and lines starting with '#' are skipped;
// a line whose first field is not a number is the header, allowed once before the
// rows. Every row holds motionColumns(joints) numbers, time and joints finite, time
// rising. Returns "" and fills `rows`, or one line naming the line and the fault
// (`rows` then empty).
std::string readMotionCsv(const char* text, std::size_t size, int joints,
                          std::vector<MotionRow>& rows);

#endif
