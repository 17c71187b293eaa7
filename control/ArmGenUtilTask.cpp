#include "control/ArmGenUtilTask.h"

#include "lc/MoxArmControl.h"

#include <cstdio>

int ArmGenUtilTask::run()
{
    std::printf("Vimbra Version: %s\n", lc::MoxArmControl::GetVimbraSwVersion().c_str());
    return 0;
}
