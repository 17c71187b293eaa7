#include "app/AppException.h"

#include <cstdio>

AppException::AppException(const std::string& message, int line, const char* fileName)
    : text(std::string(fileName) + " (" + std::to_string(line) + "): " + message)
{
}

const char* AppException::what() const noexcept
{
    return text.c_str();
}

void printCurrentException()
{
    try {
        throw;
    } catch (const AppException& exception) {
        std::printf("Caught AppException: %s\n", exception.what());
    } catch (const char* text) {
        std::printf("Error: %s\n", text);
    } catch (...) {
        std::puts("Caught unknown error");
    }
}
