// The model parameter file route, then the numeric entry points on what it loaded.
#include <cstdio>

#include "fuzz/FuzzInput.h"
#include "interface/Globals.h"
#include "interface/ModelFile.h"
#include "interface/TolvexKine.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzFile file(data, size);
    if (!file.ok())
        return 0;
    // Serial 1 keeps its stream open by definition; its two-block read is
    // driven here on a stream of our own so the fuzzer does not run out of files.
    int loaded = OnInitKine_TOLVEXKINE(0, file.path());
    if (FILE* stream = std::fopen(file.path(), "rb")) {
        loaded |= OnInitPilotPilotLmt(stream, &pilot, &lmt) &&
                  OnInitPilotPilotLmt(stream, &pilot, &lmt);
        std::fclose(stream);
    }
    if (!loaded)
        return 0;
    double q[7] = {10, 30, 20, 60, 15, 40, 25}, out[7], pose[4][4], jac[6][7], bound[2];
    unsigned char f1, f2, f3;
    bool outside[7] = {};
    OnKine(q, pose);
    OnJacob(q, jac);
    // The diagnostic form runs both inverse steps (its lines go to stdout).
    OnInvKine_NSP_test(pose, q, out, &f1, &f2, &f3, 30.0);
    OnInvKineRange(q, bound, outside);
    OnInvKineRange_Cross67(q + 5, bound);
    return 0;
}
