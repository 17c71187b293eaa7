#include "app/AppException.h"

AppException::AppException(const std::string& message, int line, const char* fileName)
    : text(std::string(fileName) + " (" + std::to_string(line) + "): " + message)
{
}

AppException::~AppException() = default;

const char* AppException::what() const noexcept
{
    return text.c_str();
}
