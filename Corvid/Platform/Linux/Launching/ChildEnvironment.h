#pragma once

#include <QByteArray>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvid {

/** The environment of a program that is started, in bytes: the system knows no encoding of it. */
class ChildEnvironment {
public:
    ChildEnvironment() = default;
    /** Each is "NAME=value". */
    explicit ChildEnvironment(std::vector<std::string> definitions)
        : definitions_(std::move(definitions)) {}

    /** Empty where the variable is empty or missing. */
    QByteArray value(std::string_view name) const;
    void set(std::string_view name, const QByteArray &value);
    void remove(std::string_view name);

    const std::vector<std::string> &definitions() const { return definitions_; }

private:
    std::vector<std::string> definitions_;
};

} // namespace corvid
