#pragma once

#include <exception>

namespace lc {

/// Exception type of the common library. Any operation of the library may throw one, or a type
/// derived from it; `what` gives the text. There is nothing in it that the library has to define,
/// so that the program starts beside any build of the library. Hidden, so that what the compiler
/// derives from it here does not take the place of the library's own.
class [[gnu::visibility("hidden")]] Exception : public std::exception {};

} // namespace lc
