// The numeric model parameter file: a byte-wise line reader, the digit-by-digit
// number parser that defines the format, and the 13-line block reader that
// sets up the Pilot arm model and its joint limits.
#ifndef TOLVEX_INTERFACE_MODELFILE_H
#define TOLVEX_INTERFACE_MODELFILE_H

#include <cstdio>

#include "pilot/Pilot.h"
#include "pilot/PilotLmt.h"

// Capacity a caller gives OnGetLine: 1001 characters and the terminator.
constexpr int kModelLineCapacity = 1002;
// Numbers the block reader accepts on one line; a longer line is rejected.
constexpr long kModelValuesPerLine = 100;

// One line without its CR/LF; blank lines are skipped. False at end of file
// (a byte 0xFF counts as end of file) and for lines over 1000 characters.
bool OnGetLine(FILE* stream, char* line);
// All numbers of the line; separators are any characters but digits, '-' and '.'.
// Writes as many values as the line holds: the caller sizes `values`.
bool OnGetValue(char* line, double* values, long& count);
// One model block: type code, geometry and limit rows, limit extras. A type
// code beyond the 64-bit range is stored as 0.
bool FX_Load_Pilot_Cfg(FILE* stream, long* type_code, double geometry[8][4], double limits[7][4],
                       double extra[4][3]);
// Reads one block and, for type codes 1007 and 1017 with every number finite,
// sets up both records.
bool OnInitPilotPilotLmt(FILE* stream, Pilot* pilot, PilotLmt* lmt);

#endif
