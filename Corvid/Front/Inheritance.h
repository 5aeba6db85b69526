#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <sys/resource.h>

namespace corvid {

/** What a process was started with, and so what the programs that it starts are given. */
struct Inheritance {
    /** "NAME=value", in bytes as they came: a value need not be text in any encoding. */
    std::vector<std::string> environment;
    rlimit openFiles{};
};

/** Ours. To be taken before anything is changed, so first of all. */
Inheritance takeInheritance();

/** Empty where the variable is empty or missing. */
std::string variable(const std::vector<std::string> &environment, std::string_view name);

/**
 * Sees to it that enough files can be open at once, and raises our own limit where that is needed
 * and allowed. Else says on standard error what is missing, and fails: without descriptors, the
 * libraries that we use abort or wait without end.
 */
bool makeRoomForFiles();

} // namespace corvid
