// The browser view's motion file reader: any bytes, for an arm of any joint count
// the first byte picks; rows or one line, never a crash or an overrun.
#include <cstdint>
#include <vector>

#include "viewer/MotionCsv.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    std::vector<MotionRow> rows;
    const int joints = data[0] % (kMotionMaxJoints + 2);
    readMotionCsv(reinterpret_cast<const char*>(data + 1), size - 1, joints, rows);
    return 0;
}
