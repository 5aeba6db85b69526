#pragma once

#include <QString>

#include <optional>

namespace corvid {

/**
 * The value of an arithmetic expression as display text; absent when the query is not one, so
 * that it goes on to the search. Numbers (digits with an optional fraction), unary minus,
 * + - * / × ÷ and parentheses; commas are thousands separators and count for nothing. All
 * arithmetic is in floating point, division too. A text without an operator is no expression,
 * and neither is one whose value, or one of whose numbers, a double cannot hold.
 *
 * Pure, any thread, linear in the query's length; any text whatever is safe to pass.
 */
std::optional<QString> evalMath(const QString &trimmedQuery);

} // namespace corvid
