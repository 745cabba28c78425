#include "cartesian/CartesianStepper.h"

void FX_CartStepperStart(const CartMove* move, CartStepper* stepper)
{
    stepper->next = 0;
    if (move->ok != 1)
        return;
    FX_CartSamplePose(move, 0, &stepper->current);
    for (int i = 0; i < 7; ++i)
        stepper->before[i] = stepper->current.q[i];
}

bool FX_CartStep(const CartMove* move, CartStepper* stepper, CartSample* sample)
{
    const long k = stepper->next;
    if (move->ok != 1 || k < 0 || k >= move->samples)
        return false;
    *sample = stepper->current;
    if (k + 1 < move->samples)
        FX_CartSamplePose(move, k + 1, &stepper->current);
    const double* after = k + 1 < move->samples ? stepper->current.q : sample->q;
    FX_CartRates(stepper->before, sample->q, after, move->cycle, sample->qd, sample->qdd);
    for (int i = 0; i < 7; ++i)
        stepper->before[i] = sample->q[i];
    stepper->next = k + 1;
    return true;
}
