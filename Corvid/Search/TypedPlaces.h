#pragma once

#include <QString>

#include <optional>

namespace corvid {

/** The path that a typed text names, absolute, without "..", "." and a slash at its end; absent
    where it names none. "~" is the user's own home folder, nobody else's; a URL of a file is one of
    this machine. Whether anything is there is not asked. Pure. */
std::optional<QString> typedPath(const QString &text);

/**
 * The web address that a typed text names, as a browser is given it; absent where it names none. An
 * address that says http or https is taken as it stands. Others are
 *
 *   - a host whose last label could be a top-level domain: letters, two or more, of one case. A
 *     single name with the suffix of a file ("notes.md") is none, unless it begins with "www." or a
 *     port or a path follows;
 *   - localhost, an IPv4 address, or an IPv6 address in brackets,
 *
 * with a port or a path where the user typed one. This machine and private networks are asked by
 * http, everybody else by https. No other scheme, no user's name and no address of a mail. Pure.
 */
std::optional<QString> typedAddress(const QString &text);

} // namespace corvid
