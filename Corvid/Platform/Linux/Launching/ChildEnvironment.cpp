#include "Platform/Linux/Launching/ChildEnvironment.h"

#include "Front/Inheritance.h"

namespace corvid {

QByteArray ChildEnvironment::value(std::string_view name) const {
    return QByteArray::fromStdString(variable(definitions_, name));
}

void ChildEnvironment::set(std::string_view name, const QByteArray &value) {
    remove(name);
    definitions_.push_back(std::string(name) + '=' + value.toStdString());
}

void ChildEnvironment::remove(std::string_view name) {
    std::erase_if(definitions_, [&](const std::string &definition) {
        return definition.starts_with(name) && definition.substr(name.size()).starts_with('=');
    });
}

} // namespace corvid
