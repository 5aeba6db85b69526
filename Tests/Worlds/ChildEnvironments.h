#pragma once

#include "Platform/Linux/Launching/ChildEnvironment.h"

#include <QProcessEnvironment>

namespace corvid::test {

/** What a program is given whose environment is told as a test's own processes are. */
inline ChildEnvironment childEnvironment(const QProcessEnvironment &environment) {
    std::vector<std::string> definitions;
    for (const QString &definition : environment.toStringList())
        definitions.push_back(definition.toStdString());
    return ChildEnvironment(std::move(definitions));
}

} // namespace corvid::test
