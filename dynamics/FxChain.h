// Modified Denavit-Hartenberg link chain FX_Pilot (metres, radians, kg):
// link transforms, flange, tool with its lumped dynamic parameters, and
// forward kinematics over the chain.
#ifndef TOLVEX_DYNAMICS_FXCHAIN_H
#define TOLVEX_DYNAMICS_FXCHAIN_H

struct FX_Link {
    double alpha;          // twist about the previous x axis, rad
    double a;              // length along the previous x axis, m
    double d;              // offset along the joint z axis, m
    double theta;          // joint-angle offset, rad (read by the fast path only)
    double mass;           // kg (takes no part in the dynamics)
    double com[3];         // first moment in the link frame, kg*m
    double inertia[6];     // xx, xy, xz, yy, yz, zz in the link frame, kg*m^2
    double sin_alpha;      // cached sin(alpha)
    double cos_alpha;      // cached cos(alpha)
    double T[4][4];        // local transform for the last joint value, m
    unsigned char fast;    // 1 selects the fast path of FX_Tmat
    double rotor_inertia;  // reflected rotor inertia, kg*m^2 (mass matrix diagonal)
};

struct FX_Pilot {
    int n;                          // joints in use (7 for the arm)
    int type;                       // robot type code from robot.ini (stored only)
    FX_Link links[8];               // slots 0..n-1 joints, slot 7 the flange
    double dyn_inertia[8][6];       // per-link inertia sums (link + lumped tool)
    double dyn_moment[8][4];        // per-link first-moment sums; entry 3 stays 0
    long dyn_ready;                 // 1 once the sums match the current tool
    double local_T[9][4][4];        // link transforms; entry n is the tool transform, m
    double local_Tt[9][4][4];       // transposes of local_T (filled by the dynamics)
    double chain_T[9][4][4];        // cumulative transforms; entry n is the tool pose, m
    long kin_cached;                // 1 once the dynamics cached local_T/local_Tt
};

// Counts the records hold: links 0..7 (slot 7 the flange, so a chain of up to 8
// for the kinematics), and 7 joints in the dynamics' per-joint arrays. Calls
// given a count outside these bounds write nothing.
constexpr int FX_CHAIN_MAX_LINKS = 8;
constexpr int FX_DYN_MAX_JOINTS = 7;

void FX_Tmat(FX_Link* link, double q);
void FX_TmatO(double alpha, double a, double d, double q, double T[4][4]);
// Slot i in 0..7; any other i writes nothing.
void FX_SetLink(FX_Pilot* p, long i, double alpha, double a, double d, double theta,
                double mass, double* com, double* inertia, double rotor_inertia);
void FX_SetFlange(FX_Pilot* p, double alpha, double a, double d, double theta);
// pose: x, y, z in mm and A, B, C in degrees (scaled by pi/180 before the
// degree-based pose builder); com 3 doubles; inertia 6 doubles. Both need
// 0 <= n <= 8 (they write local_T[n]).
void FX_SetTool(FX_Pilot* p, double* pose, double mass, double* com, double* inertia);
void FX_RemoveTool(FX_Pilot* p);
// Tool pose in the base frame into T; refreshes links[i].T, local_T[0..n-1]
// and chain_T[0..n]. Writes nothing unless 1 <= n <= 8.
void FX_KINE(FX_Pilot* p, double* q, double T[4][4]);

#endif
