#include "simulator/Report.h"
#include "simulator/Script.h"

/// Reads the settings and the script before `main`, so that a fault in them is told in time.
[[gnu::constructor]] static void startSimulator()
{
    simulator::openReports();
    simulator::Script::instance();
}
