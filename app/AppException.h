#pragma once

#include <exception>
#include <string>

/// A failure with the place in the source where it was raised.
class AppException : public std::exception {
public:
    /// `line` and `fileName` are the raiser's `__LINE__` and `__FILE__`.
    AppException(const std::string& message, int line, const char* fileName);

    /// "FILE (LINE): MESSAGE"; valid as long as the object lives.
    [[nodiscard]] const char* what() const noexcept override;

private:
    std::string text;
};

/// For a handler of any exception: prints the one that is being handled, as `AppException`, as
/// thrown constant string or as unknown error.
void printCurrentException();
