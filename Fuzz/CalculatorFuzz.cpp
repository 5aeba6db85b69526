// Any text is an expression or none, a value is a number, and what stands for nothing changes
// nothing.
#include "FuzzInput.h"
#include "Search/Calculator.h"

#include <cmath>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QString text = QString::fromUtf8(fuzz::bytesOf(data, size));
    const std::optional<QString> value = evalMath(text);

    QString other = text;
    other.remove(u',').replace(u'×', u'*').replace(u'÷', u'/');
    require(evalMath(other) == value, "separators and the two spellings of an operator");
    require(evalMath(u' ' + text + u' ') == value, "surrounding spaces");
    if (!value)
        return 0;

    bool isNumber = false;
    const double number = value->toDouble(&isNumber);
    require(isNumber && std::isfinite(number), "a value is a number");
    require(!value->startsWith("-0"_L1) || number != 0, "nothing is not negative");
    require(value->contains(u'e') || evalMath(*value + "+0"_L1) == value,
            "a value is an expression's value, too");
    // Beyond a depth that no person types there is no value.
    if (text.count(u'(') < 199) {
        require(evalMath(u'(' + text + u')') == value, "parentheses around it all");
        require(evalMath("--("_L1 + text + u')') == value, "the negative of the negative");
        require(evalMath(u'(' + text + ")*1"_L1) == value, "once is itself");
    }
    return 0;
}
