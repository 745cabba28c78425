/* A C host: includes the C header, links the shared library, calls the entry points. */
#include <stdio.h>

#include "interface/TolvexKine.h"

int main(int argc, char** argv)
{
    double joints[7] = {0, 0, 0, 0, 0, 0, 0};
    double pose[4][4];
    double q67[2] = {0, 0}, bound[2];
    if (argc < 2) {
        fprintf(stderr, "usage: %s MODEL_FILE\n", argv[0]);
        return 2;
    }
    if (OnKine(joints, pose) != 0) {
        fprintf(stderr, "OnKine passed the gate before any model was loaded\n");
        return 1;
    }
    if (OnInitKine_TOLVEXKINE(0, argv[1]) != 1 || OnKine(joints, pose) != 1) {
        fprintf(stderr, "the model file %s did not load\n", argv[1]);
        return 1;
    }
    /* Straight up: z = d1 + d3 + d5 + d7 of the example model. */
    if (pose[2][3] < 1265.999 || pose[2][3] > 1266.001 || pose[3][3] != 1.0) {
        fprintf(stderr, "unexpected zero pose z = %f\n", pose[2][3]);
        return 1;
    }
    if (OnInvKineRange_Cross67(q67, bound) != 1) {
        fprintf(stderr, "joints 6/7 at zero reported outside\n");
        return 1;
    }
    printf("C host: zero pose z = %.3f mm\n", pose[2][3]);
    return 0;
}
