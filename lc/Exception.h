#pragma once

#include <exception>

namespace lc {

/// Exception type of the common library. Any operation of the library may throw one. The library
/// defines the destructor, so that there is one type identity for the program and the library.
class Exception : public std::exception {
public:
    ~Exception() override;

    /// Text of the failure; valid as long as the object lives.
    const char* what() const noexcept override;
};

} // namespace lc
