// Runs a planned Cartesian move online: one call per control cycle hands out
// that cycle's sample (joints, rates, pose, arm angle) and computes the next
// one. Allocation-free; the samples are those FX_CartSampleAt gives, bit for bit.
#ifndef TOLVEX_CARTESIAN_CARTESIANSTEPPER_H
#define TOLVEX_CARTESIAN_CARTESIANSTEPPER_H

#include "cartesian/CartesianMove.h"

struct CartStepper {
    long next;            // index of the sample the next call hands out
    CartSample current;   // that sample, its rates not yet known
    double before[7];     // joints of the sample before it (the start joints at first), deg
};

// Sets the stepper to the move's first sample.
void FX_CartStepperStart(const CartMove* move, CartStepper* stepper);
// The next sample into `sample`; false (sample untouched) once the move is
// over or when it is not ok.
bool FX_CartStep(const CartMove* move, CartStepper* stepper, CartSample* sample);

#endif
