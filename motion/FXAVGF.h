// Moving-average filter for up to 8 signals sampled together, over a span of
// 1 to 100 samples, on a fixed-size record.
#ifndef TOLVEX_MOTION_FXAVGF_H
#define TOLVEX_MOTION_FXAVGF_H

struct FXAVGF {
    double Buf[8][100];     // last samples, one ring per channel (row) by slot (column)
    long Channels;          // channels in use, 1..8
    long Pos;               // slot the next sample overwrites, 0..Span-1
    long Span;              // averaging length, samples, 1..100
    long Ready;             // 1 once FXAVGF_OnInit has succeeded
    unsigned char Restart;  // 1: the next sample fills the whole span
};

// Accepts 1 <= channels <= 8 and 1 <= span <= 100; otherwise the record is unchanged.
bool FXAVGF_OnInit(FXAVGF* f, long channels, long span);
// The next sample restarts the average; false on a record never initialised.
bool FXAVGF_OnEmpty(FXAVGF* f);
// One sample per channel in, one average per channel out; false if not initialised.
bool FXAVGF_OnFilt(FXAVGF* f, double* in, double* out);

#endif
