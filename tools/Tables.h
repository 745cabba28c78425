// Table pieces shared by the commands: joint-vector and pose columns with their
// units, and the conversion of a pose matrix to x, y, z, A, B, C in degrees.
#ifndef TOLVEX_TOOLS_TABLES_H
#define TOLVEX_TOOLS_TABLES_H

#include <string>
#include <vector>

#include "tools/Cli.h"

// "q1 [unit]" ... "q<count> [unit]".
std::vector<std::string> jointColumns(const char* unit, int count = 7);
// "x [mm]", "y [mm]", "z [mm]", "A [deg]", "B [deg]", "C [deg]".
std::vector<std::string> xyzabcColumns();
// `first` followed by `more`.
std::vector<std::string> columns(std::vector<std::string> first,
                                 const std::vector<std::string>& more);

// "1.00, -2.50, ...": `count` numbers with two decimals, for titles.
std::string joinNumbers(const double* values, int count);

// Appends `count` numbers to `row`.
void appendNumbers(std::vector<Cell>& row, const double* values, int count, int decimals = 3);

// One-row XYZABC table of the pose (translation times `toMm`, angles in degrees).
Table xyzabcTable(const std::string& title, double pose[4][4], double toMm);

// How far the forward kinematics of a solution (`reached`) lies from its target, both in mm.
Table fkCheckTable(double target[4][4], double reached[4][4]);

// The 4x4 matrix as a table: rotation unitless, translation in `unit`.
Table poseMatrixTable(const std::string& title, double pose[4][4], const char* unit, int decimals);

// The status bytes of an inverse solve in words: flag1..flag3, then (count 4) the robot
// object's check that the joints give the pose back.
Table statusTable(const unsigned char* flags, int count);

// Distance between the translations (in the poses' unit) and angle between the
// rotations (degrees) of two poses.
void poseDifference(double a[4][4], double b[4][4], double* distance, double* angleDeg);

#endif
