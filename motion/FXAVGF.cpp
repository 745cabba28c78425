#include "motion/FXAVGF.h"

namespace {

const unsigned long kMaxChannels = 8;
const unsigned long kMaxSpan = 100;

}  // namespace

bool FXAVGF_OnInit(FXAVGF* f, long channels, long span)
{
    // Unsigned differences reject zero and negative values with the same test.
    if (static_cast<unsigned long>(channels) - 1 >= kMaxChannels ||
        static_cast<unsigned long>(span) - 1 >= kMaxSpan)
        return false;
    f->Channels = channels;
    f->Span = span;
    f->Pos = 0;
    f->Ready = 1;
    f->Restart = 1;
    return true;
}

bool FXAVGF_OnEmpty(FXAVGF* f)
{
    if (!f->Ready)
        return false;
    f->Restart = 1;
    return true;
}

bool FXAVGF_OnFilt(FXAVGF* f, double* in, double* out)
{
    if (!f->Ready)
        return false;
    if (f->Restart) {
        // Priming the whole span lets the divisor always be the full span.
        for (long c = 0; c < f->Channels; ++c) {
            for (long k = 0; k < f->Span; ++k)
                f->Buf[c][k] = in[c];
            out[c] = in[c];
        }
        f->Restart = 0;
        return true;
    }
    const long p = f->Pos;
    const long next = p + 1 < f->Span ? p + 1 : 0;
    for (long c = 0; c < f->Channels; ++c) {
        f->Buf[c][p] = in[c];
        // Summed afresh every call so that rounding never accumulates.
        double sum = 0;
        for (long k = 0; k < f->Span; ++k)
            sum += f->Buf[c][k];
        out[c] = sum / static_cast<double>(f->Span);
    }
    f->Pos = next;
    return true;
}
