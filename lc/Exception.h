#pragma once

#include <exception>

namespace lc {

// What the compiler derives from it here is not to take the place of the library's own.
#pragma GCC visibility push(hidden)

/// Exception type of the common library. Any operation of the library may throw one, or a type
/// derived from it; `what` gives the text. There is nothing in it that the library has to define,
/// so that the program starts beside any build of the library.
class Exception : public std::exception {};

#pragma GCC visibility pop

} // namespace lc
