#pragma once

#include <string>

namespace simulator {

/// Moves a descriptor out of the way of the program's and returns what it is now.
int moveAway(int descriptor);

/// Opens what `trace` and `report` write to, so that neither takes a standard descriptor that the
/// program was started without. To be called before the program opens anything.
void openReports();

/// Appends one line to the file that VIMBRA_SIM_TRACE names, if it does.
void trace(const std::string& line);

/// Tells the user on standard error what the simulated instrument does. `printf` format.
[[gnu::format(printf, 1, 2)]] void report(const char* format, ...);

/// Ends the process with a message and status 255 before the program starts.
[[noreturn]] void refuseToStart(const std::string& reason);

} // namespace simulator
