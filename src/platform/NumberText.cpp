#include "platform/NumberText.h"

#include "platform/RuntimeError.h"

#include <QLocale>
#include <QVarLengthArray>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>

namespace platform {

namespace {

// ---------------------------------------------------------------------------
// Decimal digits of a double

// A finite non-negative value written with a fixed count of significant digits,
// correctly rounded: digits[0] stands at 10^exponent.
struct SignificantDigits {
    char digits[17];
    int count;
    int exponent;
    bool zero;
};

SignificantDigits significantDigits(double magnitude, int precision) {
    SignificantDigits result{};
    result.count = precision;
    char text[40];
    // Scientific with precision-1 decimals is "d.ddd...e+XX", as printf's %.*e.
    const auto written = std::to_chars(text, text + sizeof text, magnitude,
                                       std::chars_format::scientific, precision - 1);
    const char* p = text;
    int n = 0;
    for (; p != written.ptr && *p != 'e'; ++p) {
        if (*p >= '0' && *p <= '9')
            result.digits[n++] = *p;
    }
    int exponent = 0;
    std::from_chars(p + 1 + (p[1] == '+' ? 1 : 0), written.ptr, exponent);
    result.exponent = exponent;
    result.zero = result.digits[0] == '0';
    return result;
}

using Utf16Buffer = QVarLengthArray<char16_t, 64>;

QString toQString(const Utf16Buffer& buffer) {
    return QString(reinterpret_cast<const QChar*>(buffer.constData()), buffer.size());
}

void appendLatin1(Utf16Buffer& out, const char* text) {
    for (; *text; ++text)
        out.append(char16_t(*text));
}

// The text printf's %G would give for infinities and NaN; they never come from
// parsing, but must still show as something.
bool appendNonFinite(Utf16Buffer& out, double value) {
    if (std::isnan(value)) {
        appendLatin1(out, "NAN");
        return true;
    }
    if (std::isinf(value)) {
        appendLatin1(out, value < 0 ? "-INF" : "INF");
        return true;
    }
    return false;
}

// %.<precision>G with the regional decimal character; negative zero shows "0".
QString generalText(double value, int precision, QChar decimal) {
    Utf16Buffer out;
    if (appendNonFinite(out, value))
        return toQString(out);
    if (value == 0)
        return QStringLiteral("0");
    if (value < 0)
        out.append(u'-');
    const SignificantDigits d = significantDigits(std::fabs(value), precision);
    int used = d.count;
    while (used > 1 && d.digits[used - 1] == '0')
        --used;
    const char16_t dec = decimal.unicode();
    const int e = d.exponent;
    if (e < -4 || e >= precision) {
        out.append(char16_t(d.digits[0]));
        if (used > 1) {
            out.append(dec);
            for (int i = 1; i < used; ++i)
                out.append(char16_t(d.digits[i]));
        }
        out.append(u'E');
        out.append(e < 0 ? u'-' : u'+');
        char exponentText[8];
        const auto end =
            std::to_chars(exponentText, exponentText + sizeof exponentText, std::abs(e));
        if (end.ptr - exponentText < 2)
            out.append(u'0');
        for (const char* c = exponentText; c != end.ptr; ++c)
            out.append(char16_t(*c));
    } else if (e >= 0) {
        // e < precision, so every integer digit is one of the significant ones.
        for (int i = 0; i <= e; ++i)
            out.append(char16_t(d.digits[i]));
        if (used > e + 1) {
            out.append(dec);
            for (int i = e + 1; i < used; ++i)
                out.append(char16_t(d.digits[i]));
        }
    } else {
        out.append(u'0');
        out.append(dec);
        for (int i = -1; i > e; --i)
            out.append(u'0');
        for (int i = 0; i < used; ++i)
            out.append(char16_t(d.digits[i]));
    }
    return toQString(out);
}

// ---------------------------------------------------------------------------
// Pattern formatting

struct Pattern {
    bool hasPlaceholder = false;
    bool hasDecimalPoint = false;
    bool grouping = false;
    int integerZeros = 0;      // '0' placeholders before the decimal point
    int decimals = 0;          // placeholders after it
    int mandatoryDecimals = 0; // up to the last '0' placeholder after it
    qsizetype firstPlaceholder = -1;
};

Pattern parsePattern(QStringView pattern) {
    Pattern p;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const char16_t c = pattern[i].unicode();
        if (c == u'0' || c == u'#') {
            if (!p.hasPlaceholder)
                p.firstPlaceholder = i;
            p.hasPlaceholder = true;
            if (p.hasDecimalPoint) {
                ++p.decimals;
                if (c == u'0')
                    p.mandatoryDecimals = p.decimals;
            } else if (c == u'0') {
                ++p.integerZeros;
            }
        } else if (c == u'.' && !p.hasDecimalPoint) {
            p.hasDecimalPoint = true;
        } else if (c == u',' && !p.hasDecimalPoint) {
            p.grouping = true;
        }
    }
    return p;
}

// Copies the pattern's ordinary characters on one side of the number.
void appendLiterals(Utf16Buffer& out, QStringView pattern, qsizetype from, qsizetype to) {
    bool pointSeen = false;
    // The decimal point state must be known from the pattern's start.
    for (qsizetype i = 0; i < from; ++i) {
        if (pattern[i] == u'.')
            pointSeen = true;
    }
    for (qsizetype i = from; i < to; ++i) {
        const char16_t c = pattern[i].unicode();
        if (c == u'0' || c == u'#')
            continue;
        if (c == u'.' && !pointSeen) {
            pointSeen = true;
            continue;
        }
        if (c == u',' && !pointSeen)
            continue;
        out.append(c);
    }
}

QString formatNumber(double value, QStringView pattern, const NumberFormat& fmt) {
    const Pattern p = parsePattern(pattern);
    if (!p.hasPlaceholder)
        return DefaultText(value, fmt);
    Utf16Buffer out;
    if (appendNonFinite(out, value))
        return toQString(out);

    // Rounding works on the 15-digit decimal text, half away from zero, so that
    // 1.0005 rounds up although its binary value lies just below the half.
    const SignificantDigits d = significantDigits(std::fabs(value), 15);
    char rounded[16];
    int length = 0;       // digits in rounded[], rounded[0] at 10^top
    int top = d.exponent; // meaningful only when length > 0
    if (!d.zero) {
        const int kept = d.exponent + 1 + p.decimals;
        if (kept >= d.count) {
            length = d.count;
            std::copy(d.digits, d.digits + d.count, rounded);
        } else if (kept == 0) {
            if (d.digits[0] >= '5') {
                rounded[0] = '1';
                length = 1;
                top = -p.decimals;
            }
        } else if (kept > 0) {
            length = kept;
            std::copy(d.digits, d.digits + kept, rounded);
            if (d.digits[kept] >= '5') {
                int i = kept - 1;
                while (i >= 0 && rounded[i] == '9')
                    rounded[i--] = '0';
                if (i >= 0) {
                    ++rounded[i];
                } else {
                    rounded[0] = '1';
                    std::fill(rounded + 1, rounded + kept, '0');
                    ++top;
                }
            }
        }
    }
    auto digitAt = [&](int power) -> char16_t {
        const int index = top - power;
        return (length > 0 && index >= 0 && index < length) ? char16_t(rounded[index]) : u'0';
    };

    if (value < 0)
        out.append(u'-');
    appendLiterals(out, pattern, 0, p.firstPlaceholder);

    const int significantInteger = (length > 0 && top >= 0) ? top + 1 : 0;
    const int integerDigits = std::max(significantInteger, p.integerZeros);
    const char16_t group = fmt.group.unicode();
    for (int i = 0; i < integerDigits; ++i) {
        if (p.grouping && i > 0 && (integerDigits - i) % 3 == 0)
            out.append(group);
        out.append(digitAt(integerDigits - 1 - i));
    }
    if (p.hasDecimalPoint) {
        out.append(fmt.decimal.unicode());
        int decimals = p.decimals;
        while (decimals > p.mandatoryDecimals && digitAt(-decimals) == u'0')
            --decimals;
        for (int i = 1; i <= decimals; ++i)
            out.append(digitAt(-i));
    }
    appendLiterals(out, pattern, p.firstPlaceholder, pattern.size());
    return toQString(out);
}

// ---------------------------------------------------------------------------
// Text to number

// The number gathered as ASCII for std::from_chars: a stack buffer that moves
// to the heap only for unusually long texts, since the readers call this for
// every coordinate of files of millions of points.
class AsciiNumber {
public:
    void push(char c) {
        if (!spilled_) {
            if (size_ < sizeof local_) {
                local_[size_++] = c;
                return;
            }
            heap_.assign(local_, size_);
            spilled_ = true;
        }
        heap_.push_back(c);
        ++size_;
    }
    const char* begin() const { return spilled_ ? heap_.data() : local_; }
    const char* end() const { return begin() + size_; }

private:
    char local_[96];
    std::string heap_;
    std::size_t size_ = 0;
    bool spilled_ = false;
};

enum class Conversion { Ok, Mismatch, Overflow };

// Decimal order of magnitude of the gathered text (mantissa digits and
// exponent), enough to tell an overflow from an underflow.
bool aboveOne(const char* p, const char* end) {
    if (p != end && *p == '-')
        ++p;
    long long magnitude = 0;
    bool found = false;
    long long integerDigits = 0;
    for (; p != end && *p >= '0' && *p <= '9'; ++p) {
        if (found || *p != '0') {
            found = true;
            ++integerDigits;
        }
    }
    if (found) {
        magnitude = integerDigits - 1;
    }
    if (p != end && *p == '.') {
        ++p;
        long long zeros = 0;
        for (; p != end && *p >= '0' && *p <= '9'; ++p) {
            if (!found) {
                if (*p == '0') {
                    ++zeros;
                } else {
                    found = true;
                    magnitude = -zeros - 1;
                }
            }
        }
    }
    long long exponent = 0;
    if (p != end && *p == 'e') {
        ++p;
        const bool negative = p != end && *p == '-';
        if (negative)
            ++p;
        for (; p != end; ++p) {
            if (exponent < 1000000000LL)
                exponent = exponent * 10 + (*p - '0');
        }
        if (negative)
            exponent = -exponent;
    }
    return magnitude + exponent > 0;
}

// Converts the gathered text; an underflow gives 0.
template <typename Real> Conversion convert(const AsciiNumber& text, Real& value) {
    const auto result = std::from_chars(text.begin(), text.end(), value);
    if (result.ec == std::errc::result_out_of_range) {
        if (aboveOne(text.begin(), text.end()))
            return Conversion::Overflow;
        value = 0;
        return Conversion::Ok;
    }
    if (result.ec != std::errc() || std::isinf(value))
        return Conversion::Overflow;
    return Conversion::Ok;
}

inline bool isDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}

// The locale-aware reading, without raising: the text is gathered for
// from_chars, or found to be no number.
bool gatherLocaleNumber(QStringView text, const NumberFormat& fmt, AsciiNumber& out) {
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text[begin] == u' ')
        ++begin;
    while (end > begin && text[end - 1] == u' ')
        --end;
    const char16_t* s = text.utf16();
    qsizetype i = begin;

    const char16_t decimal = fmt.decimal.unicode();
    const char16_t group = fmt.group.unicode();
    // A spacing grouping character is easily typed as an ordinary or
    // no-break space, so those stand for it too.
    const bool spaceGroup = fmt.group.isSpace();
    auto isGroup = [&](char16_t c) {
        return c == group || (spaceGroup && (c == u' ' || c == u'\u00A0'));
    };

    if (i < end && (s[i] == u'+' || s[i] == u'-')) {
        if (s[i] == u'-')
            out.push('-');
        ++i;
    }
    out.push('0');
    bool digits = false;
    for (; i < end; ++i) {
        if (isDigit(s[i])) {
            out.push(char(s[i]));
            digits = true;
        } else if (s[i] != decimal && isGroup(s[i])) {
            continue;
        } else {
            break;
        }
    }
    if (i < end && s[i] == decimal) {
        ++i;
        bool point = false;
        for (; i < end && isDigit(s[i]); ++i) {
            if (!point) {
                out.push('.');
                point = true;
            }
            out.push(char(s[i]));
            digits = true;
        }
    }
    if (!digits)
        return false;
    if (i < end && (s[i] == u'E' || s[i] == u'e')) {
        ++i;
        out.push('e');
        if (i < end && (s[i] == u'+' || s[i] == u'-')) {
            if (s[i] == u'-')
                out.push('-');
            ++i;
        }
        if (i == end || !isDigit(s[i]))
            return false;
        for (; i < end && isDigit(s[i]); ++i)
            out.push(char(s[i]));
    }
    return i == end;
}

template <typename Real> Conversion readLocaleNumber(QStringView text, Real& value) {
    AsciiNumber gathered;
    if (!gatherLocaleNumber(text, NumberFormat::current(), gathered))
        return Conversion::Mismatch;
    return convert(gathered, value);
}

void raise(Conversion conversion) {
    if (conversion == Conversion::Mismatch)
        throw RuntimeError(RuntimeError::TypeMismatch);
    if (conversion == Conversion::Overflow)
        throw RuntimeError(RuntimeError::Overflow);
}

template <typename Int> Int roundHalfEven(double value) {
    if (std::isnan(value))
        throw RuntimeError(RuntimeError::Overflow);
    double whole = std::floor(value);
    const double fraction = value - whole; // exact: both lie within one unit
    if (fraction > 0.5 || (fraction == 0.5 && std::fmod(whole, 2.0) != 0))
        whole += 1;
    if (whole < double(std::numeric_limits<Int>::min()) ||
        whole > double(std::numeric_limits<Int>::max()))
        throw RuntimeError(RuntimeError::Overflow);
    return static_cast<Int>(whole);
}

} // namespace

// ---------------------------------------------------------------------------

NumberFormat NumberFormat::current() {
    // Asked for every formatted cell: the characters are looked up again only
    // when the default locale has changed.
    thread_local QLocale cachedLocale(QLocale::C);
    thread_local NumberFormat cached{QLatin1Char('.'), QLatin1Char(',')};
    const QLocale locale;
    if (!(locale == cachedLocale)) {
        const QString decimal = locale.decimalPoint();
        const QString group = locale.groupSeparator();
        cached.decimal = decimal.isEmpty() ? QLatin1Char('.') : decimal.at(0);
        cached.group = group.isEmpty() ? QChar(u'\u00A0') : group.at(0);
        cachedLocale = locale;
    }
    return cached;
}

void installRegionalFormat() {
    QLocale locale = QLocale::system();
    if (locale.language() == QLocale::C || locale.name() == QLatin1String("C") ||
        locale.name() == QLatin1String("POSIX"))
        locale = QLocale(QLocale::French, QLocale::France);
    QLocale::setDefault(locale);
}

QString Format(double value, QStringView pattern) {
    return formatNumber(value, pattern, NumberFormat::current());
}

QString Format(double value, QStringView pattern, const NumberFormat& fmt) {
    return formatNumber(value, pattern, fmt);
}

QString Format(const QString& text, QStringView pattern) {
    double value = 0;
    if (readLocaleNumber(text, value) != Conversion::Ok)
        return text;
    return formatNumber(value, pattern, NumberFormat::current());
}

QString DefaultText(double value) {
    return generalText(value, 15, NumberFormat::current().decimal);
}

QString DefaultText(double value, const NumberFormat& fmt) {
    return generalText(value, 15, fmt.decimal);
}

QString DefaultTextFloat(float value) {
    return generalText(double(value), 7, NumberFormat::current().decimal);
}

QString NumericPrint(double value) {
    return QLatin1Char(' ') + DefaultText(value) + QLatin1Char(' ');
}

double Val(QStringView text) {
    const char16_t* s = text.utf16();
    const qsizetype n = text.size();
    qsizetype i = 0;
    auto skipBlanks = [&] {
        while (i < n && (s[i] == u' ' || s[i] == u'\t'))
            ++i;
    };

    AsciiNumber gathered;
    skipBlanks();
    if (i < n && (s[i] == u'+' || s[i] == u'-')) {
        if (s[i] == u'-')
            gathered.push('-');
        ++i;
    }
    gathered.push('0');
    bool digits = false;
    bool point = false;
    for (;; ++i) {
        skipBlanks();
        if (i == n)
            break;
        if (isDigit(s[i])) {
            gathered.push(char(s[i]));
            digits = true;
        } else if (s[i] == u'.' && !point) {
            gathered.push('.');
            point = true;
        } else {
            break;
        }
    }
    if (!digits)
        return 0.0;
    if (i < n && (s[i] == u'E' || s[i] == u'e' || s[i] == u'D' || s[i] == u'd')) {
        // The letter belongs to the number only when a digit follows it.
        qsizetype j = i + 1;
        auto skipBlanksAt = [&] {
            while (j < n && (s[j] == u' ' || s[j] == u'\t'))
                ++j;
        };
        skipBlanksAt();
        bool negative = false;
        if (j < n && (s[j] == u'+' || s[j] == u'-')) {
            negative = s[j] == u'-';
            ++j;
            skipBlanksAt();
        }
        if (j < n && isDigit(s[j])) {
            gathered.push('e');
            if (negative)
                gathered.push('-');
            while (j < n) {
                if (isDigit(s[j]))
                    gathered.push(char(s[j]));
                else if (s[j] != u' ' && s[j] != u'\t')
                    break;
                ++j;
            }
        }
    }
    double value = 0;
    raise(convert(gathered, value));
    return value;
}

double CDbl(QStringView text) {
    double value = 0;
    raise(readLocaleNumber(text, value));
    return value;
}

float CSng(QStringView text) {
    // Read straight to float: going through double could round twice.
    float value = 0;
    raise(readLocaleNumber(text, value));
    return value;
}

int16_t CInt(QStringView text) {
    return ToInt16(CDbl(text));
}

int32_t CLng(QStringView text) {
    return ToInt32(CDbl(text));
}

bool IsNumeric(QStringView text) {
    double value = 0;
    return readLocaleNumber(text, value) == Conversion::Ok;
}

int16_t ToInt16(double value) {
    return roundHalfEven<int16_t>(value);
}

int32_t ToInt32(double value) {
    return roundHalfEven<int32_t>(value);
}

} // namespace platform
