#include "Search/Calculator.h"

#include <QLatin1StringView>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>

namespace corvid {

namespace {

// The expression in plain ASCII; absent when a character shows that it is none.
std::optional<std::string> normalised(QString query) {
    query.remove(u',').replace(u'×', u'*').replace(u'÷', u'/');
    const std::string text = query.toLatin1().toStdString(); // "?" for what is not Latin
    const auto hasOneOf = [&text](const char *characters) {
        return text.find_first_of(characters) != std::string::npos;
    };
    const bool isExpression = text.find_first_not_of("0123456789.+-*/() ") == std::string::npos;
    if (!isExpression || !hasOneOf("0123456789") || !hasOneOf("+-*/"))
        return std::nullopt;
    return text;
}

// Not a number: every operation on it yields it again, so one wrong part spoils the whole.
constexpr double invalid = std::numeric_limits<double>::quiet_NaN();

/**
 * Recursive descent over
 *   sum     = product { ("+" | "-") product }
 *   product = factor { ("*" | "/") factor }
 *   factor  = { "-" } (number | "(" sum ")")
 * Only parentheses recurse, and only so deep: the text comes from a keyboard or a clipboard and
 * must not exhaust the stack.
 */
class Parser {
public:
    explicit Parser(std::string_view text) : rest_(text) {}

    double parse() {
        const double value = sum();
        skipSpaces();
        return rest_.empty() ? value : invalid;
    }

private:
    double sum() {
        double value = product();
        for (;;) {
            if (take('+'))
                value += product();
            else if (take('-'))
                value -= product();
            else
                return value;
        }
    }

    double product() {
        double value = factor();
        for (;;) {
            if (take('*'))
                value *= factor();
            else if (take('/'))
                value /= factor();
            else
                return value;
        }
    }

    double factor() {
        bool negative = false;
        while (take('-'))
            negative = !negative;
        const double value = take('(') ? parenthesised() : number();
        return negative ? -value : value;
    }

    double parenthesised() {
        constexpr int deepest = 200;
        if (depth_ == deepest)
            return invalid;
        ++depth_;
        const double value = sum();
        --depth_;
        return take(')') ? value : invalid;
    }

    double number() {
        skipSpaces();
        const std::size_t end = std::min(rest_.find_first_not_of("0123456789."), rest_.size());
        const char *const last = rest_.data() + end;
        double value = 0;
        const auto [stop, error] =
            std::from_chars(rest_.data(), last, value, std::chars_format::fixed);
        // A second point stops the conversion early; too many digits are out of range.
        if (error != std::errc() || stop != last)
            return invalid;
        rest_.remove_prefix(end);
        return value;
    }

    bool take(char token) {
        skipSpaces();
        if (!rest_.starts_with(token))
            return false;
        rest_.remove_prefix(1);
        return true;
    }

    void skipSpaces() { rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size())); }

    std::string_view rest_;
    int depth_ = 0;
};

// The shortest text that reads back as the same double. It has no superfluous zeros to trim.
QString formatted(double value) {
    constexpr double firstNotShownAsInteger = 1e15;
    if (value == std::round(value) && std::abs(value) < firstNotShownAsInteger)
        return QString::number(static_cast<qint64>(value));
    std::array<char, 32> text{};
    const std::to_chars_result result =
        std::to_chars(text.data(), text.data() + text.size(), value);
    return QLatin1StringView(text.data(), result.ptr);
}

} // namespace

std::optional<QString> evalMath(const QString &trimmedQuery) {
    const std::optional<std::string> text = normalised(trimmedQuery);
    if (!text)
        return std::nullopt;
    const double value = Parser(*text).parse();
    return std::isfinite(value) ? std::optional(formatted(value)) : std::nullopt;
}

} // namespace corvid
