// The robot.ini initialisation route: loads robot.ini into ms_DCTRL_CFG and
// builds the link chain `rob` and the locked-joint IK model `ik` from arm 0.
#ifndef TOLVEX_INTERFACE_ROBOTINIROUTE_H
#define TOLVEX_INTERFACE_ROBOTINIROUTE_H

// 1 on success, 0 when robot.ini cannot be loaded or arm 0 has more links than
// the chain holds (a "Dof" outside 0..7).
int OnInitKine(char* path);
// Forwards to OnInitKine(char*), so that C++ hosts can pass string literals.
int OnInitKine(const char* path);

#endif
