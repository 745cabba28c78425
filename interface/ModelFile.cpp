#include "interface/ModelFile.h"

#include "math/FxScalar.h"

namespace {

constexpr long kUnbounded = -1;

// The parser of OnGetValue with an optional bound on how many values it may
// store (kUnbounded: none). A line with more numbers than the bound fails.
bool parseNumbers(const char* line, double* values, long capacity, long& count)
{
    double value = 0.0;
    double sign = 1.0;
    double scale = 1.0;  // 1.0 in the integer part, then 0.1, 0.01, ... for fraction digits
    bool inNumber = false;
    long stored = 0;

    auto store = [&]() {
        if (capacity != kUnbounded && stored >= capacity)
            return false;
        values[stored++] = value * sign;
        value = 0.0;
        sign = 1.0;
        scale = 1.0;
        return true;
    };

    for (const char* p = line; *p != '\0'; ++p) {
        char ch = *p;
        if (ch >= '0' && ch <= '9') {
            double digit = ch - '0';
            if (scale > 0.7) {
                value = value * 10 + digit;
            } else {
                value = value + digit * scale;
                scale = scale * 0.1;
            }
            inNumber = true;
        } else if (ch == '-') {
            if (sign < 0)
                return false;
            sign = -1.0;
        } else if (ch == '.') {
            if (scale < 0.7)
                return false;
            scale = 0.1;
        } else if (ch == '\r' || ch == '\n') {
            if (inNumber && !store())
                return false;
            count = stored;
            return true;
        } else {
            if (inNumber && !store())
                return false;
            inNumber = false;
        }
    }
    if (inNumber && !store())
        return false;
    count = stored;
    return true;
}

// Reads the next line and requires exactly `expected` numbers on it.
bool readNumberLine(FILE* stream, double* values, long expected)
{
    char line[kModelLineCapacity];
    long count = 0;
    return OnGetLine(stream, line) && parseNumbers(line, values, kModelValuesPerLine, count) &&
           count == expected;
}

}  // namespace

bool OnGetLine(FILE* stream, char* line)
{
    if (stream == nullptr || line == nullptr)
        return false;
    line[0] = '\0';
    long length = 0;
    for (;;) {
        unsigned char byte = 0xFF;  // stays 0xFF when nothing could be read
        fread(&byte, 1, 1, stream);
        if (byte == 0xFF)
            return false;
        if (byte == '\r' || byte == '\n') {
            if (length == 0)
                continue;
            return true;
        }
        line[length++] = static_cast<char>(byte);
        line[length] = '\0';
        if (length > 1000)
            return false;
    }
}

bool OnGetValue(char* line, double* values, long& count)
{
    return parseNumbers(line, values, kUnbounded, count);
}

bool FX_Load_Pilot_Cfg(FILE* stream, long* type_code, double geometry[8][4], double limits[7][4],
                       double extra[4][3])
{
    double values[kModelValuesPerLine];
    if (!readNumberLine(stream, values, 1))
        return false;
    // Checked before converting: a value no 64-bit code can hold (or NaN)
    // becomes 0, which names no model.
    const double code = values[0] + 0.1;
    *type_code = code >= -0x1p63 && code < 0x1p63 ? static_cast<long>(code) : 0;
    for (int k = 0; k < 7; ++k) {
        if (!readNumberLine(stream, values, 8))
            return false;
        for (int c = 0; c < 4; ++c) {
            geometry[k][c] = values[c];
            limits[k][c] = values[4 + c];
        }
    }
    if (!readNumberLine(stream, values, 4))
        return false;
    for (int c = 0; c < 4; ++c)
        geometry[7][c] = values[c];
    for (int k = 0; k < 4; ++k) {
        if (!readNumberLine(stream, values, 3))
            return false;
        for (int c = 0; c < 3; ++c)
            extra[k][c] = values[c];
    }
    return true;
}

bool OnInitPilotPilotLmt(FILE* stream, Pilot* pilot, PilotLmt* lmt)
{
    long type_code = 0;
    double geometry[8][4];
    double limits[7][4];
    double extra[4][3];
    if (!FX_Load_Pilot_Cfg(stream, &type_code, geometry, limits, extra))
        return false;
    // The parser has no overflow check: a value too long for a double is infinite.
    if (!FX_AllFinite(&geometry[0][0], 32) || !FX_AllFinite(&limits[0][0], 28) ||
        !FX_AllFinite(&extra[0][0], 12))
        return false;
    unsigned char variant;
    if (type_code == 1007)
        variant = 0;
    else if (type_code == 1017)
        variant = 1;
    else
        return false;
    FX_Init_Pilot(pilot, variant, geometry);
    FX_Init_PilotLmt(lmt, variant, limits, extra);
    return true;
}
