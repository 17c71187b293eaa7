#pragma once

/// Called first by a task that writes hardware. From here to the end of the process a reader of the
/// output that goes away, a terminal that closes and a file that reaches its size limit no longer
/// end it: the output is lost instead, and the hardware is not left half written. Ctrl-C and `kill`
/// end it as ever.
void shieldHardwareRun();
