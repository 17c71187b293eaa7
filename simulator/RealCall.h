#pragma once

#include <dlfcn.h>

namespace simulator {

/// The function of libc that this library stands in front of.
template <class Function>
Function* realCall(Function* /*own*/, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace simulator

#define REAL(function) simulator::realCall(&::function, #function)
