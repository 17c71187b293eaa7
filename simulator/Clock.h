#pragma once

namespace simulator {

/// Seconds since the start of the run. With "set clock fast" no pause is really waited for; the
/// clock is set forward instead.
double now();
void pause(double seconds);

/// As a point in time: what will not happen.
inline constexpr double never = 1e18;

/// Waits until a point in time. A wait for what will not happen is ended from outside, by SIGTERM.
void waitUntil(double time);

} // namespace simulator
