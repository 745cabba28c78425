// Tolvex Kine: every public header of the library in one include.
#ifndef TOLVEXKINE_H
#define TOLVEXKINE_H

#include <tolvexkine/version.h>

#include "math/FxMatrix.h"
#include "math/FxPose.h"
#include "math/FxQuaternion.h"
#include "math/FxScalar.h"

#include "pilot/Pilot.h"
#include "pilot/PilotIK.h"
#include "pilot/PilotArmAngleMap.h"
#include "pilot/PilotLimitCheck.h"
#include "pilot/PilotLmt.h"
#include "pilot/PilotNSP.h"

#include "config/CUT.h"
#include "config/IniParser.h"

#include "dynamics/FxChain.h"
#include "dynamics/FxCoriolis.h"
#include "dynamics/FxImpedance.h"
#include "dynamics/FxInvDyn.h"
#include "dynamics/FxMassMatrix.h"

#include "ik7/IKLock7.h"
#include "ik7/IKPoilt7.h"
#include "ik7/IKSelect.h"
#include "ik7/IKSpan.h"

#include "motion/FXAVGF.h"
#include "motion/FXNSyncDTS.h"
#include "motion/FXVDT.h"
#include "motion/FxTrigTables.h"

#include "interface/Globals.h"
#include "interface/ModelFile.h"
#include "interface/RobotIniRoute.h"
#include "interface/TolvexKine.h"

#include "cartesian/ArmAngleIK.h"
#include "cartesian/ArmAngleIntervals.h"
#include "cartesian/CartesianMove.h"
#include "cartesian/CartesianPath.h"
#include "cartesian/CartesianStepper.h"
#include "cartesian/PathTiming.h"
#include "cartesian/SCurve.h"

#include "robot/AnalyticArm.h"
#include "robot/DescriptionFrames.h"
#include "robot/Error.h"
#include "robot/Inertia.h"
#include "robot/PilotFit.h"
#include "robot/Robot.h"
#include "robot/RobotC.h"
#include "robot/RobotDescription.h"
#include "robot/RobotIni.h"

#endif
