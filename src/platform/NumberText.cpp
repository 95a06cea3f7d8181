#include "platform/NumberText.h"

#include "platform/RuntimeError.h"
#include "platform/TextFile.h"

#include <QLocale>
#include <QVarLengthArray>
#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
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

// Splits to_chars' scientific text "d.ddde+XX" into its digits and exponent.
int splitScientific(const char* text, const char* end, SignificantDigits& result) {
    const char* p = text;
    int n = 0;
    for (; p != end && *p != 'e'; ++p) {
        if (*p >= '0' && *p <= '9')
            result.digits[n++] = *p;
    }
    int exponent = 0;
    std::from_chars(p + 1 + (p[1] == '+' ? 1 : 0), end, exponent);
    result.exponent = exponent;
    return n;
}

constexpr std::uint64_t kPowersOfTen[20] = {1ULL,
                                            10ULL,
                                            100ULL,
                                            1000ULL,
                                            10000ULL,
                                            100000ULL,
                                            1000000ULL,
                                            10000000ULL,
                                            100000000ULL,
                                            1000000000ULL,
                                            10000000000ULL,
                                            100000000000ULL,
                                            1000000000000ULL,
                                            10000000000000ULL,
                                            100000000000000ULL,
                                            1000000000000000ULL,
                                            10000000000000000ULL,
                                            100000000000000000ULL,
                                            1000000000000000000ULL,
                                            10000000000000000000ULL};

// The powers of ten that doubles hold exactly.
constexpr double kExactPowers[23] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                     1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                     1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// The 15 significant digits of a magnitude from 10^-5 up to 10^15, the values
// of survey files, in integer arithmetic: the double is m * 2^-shift exactly,
// so m * 10^(14-e) shifted right is the value scaled to 15 integer digits,
// and the bits shifted out decide the rounding, to even on an exact tie as
// printf does. Gives the digits as one integer, the first at 10^exponent;
// false outside that range.
bool fifteenDigits(double magnitude, std::uint64_t& digits, int& exponent) {
    if (!(magnitude >= 1e-5 && magnitude < 1e15))
        return false;
    const auto bits = std::bit_cast<std::uint64_t>(magnitude);
    const int biased = static_cast<int>(bits >> 52);
    const std::uint64_t mantissa = (bits & ((1ULL << 52) - 1)) | (1ULL << 52);
    const int shift = 1075 - biased; // from 3 to 69 over this range
    // floor(log10(2^k)) for the binary exponent k: the decimal exponent or
    // one below it, which one comparison mostly settles (the powers below 1
    // are not exact doubles: the loop below still has the last word).
    static constexpr double kTens[21] = {1e-5, 1e-4, 1e-3, 1e-2, 1e-1, 1e0,  1e1,
                                         1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,
                                         1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    int e = std::clamp(((biased - 1023) * 78913) >> 18, -5, 14);
    if (magnitude >= kTens[e + 6])
        ++e;
    using Wide = unsigned __int128;
    Wide scaled;
    for (;;) {
        const Wide product = Wide(mantissa) * kPowersOfTen[14 - e];
        scaled = product >> shift;
        if (scaled >= kPowersOfTen[15] && e < 14) {
            ++e;
            continue;
        }
        if (scaled < kPowersOfTen[14] && e > -5) {
            --e;
            continue;
        }
        const Wide rest = product & ((Wide(1) << shift) - 1);
        const Wide half = Wide(1) << (shift - 1);
        if (rest > half || (rest == half && (scaled & 1) != 0))
            ++scaled;
        break;
    }
    digits = static_cast<std::uint64_t>(scaled);
    if (digits == kPowersOfTen[15]) { // 9.99...95 rounded up a decade
        digits = kPowersOfTen[14];
        ++e;
    }
    exponent = e;
    return true;
}

// x / 10^k with a constant divisor in each case: the compiler turns each into
// a multiplication, which the hardware does many times faster than a division.
std::uint64_t dividedByPowerOfTen(std::uint64_t x, int k) {
    switch (k) {
#define TOVALIN_CASE(n)                                                                            \
    case n:                                                                                        \
        return x / kPowersOfTen[n];
        TOVALIN_CASE(0)
        TOVALIN_CASE(1)
        TOVALIN_CASE(2)
        TOVALIN_CASE(3)
        TOVALIN_CASE(4)
        TOVALIN_CASE(5)
        TOVALIN_CASE(6)
        TOVALIN_CASE(7)
        TOVALIN_CASE(8)
        TOVALIN_CASE(9)
        TOVALIN_CASE(10)
        TOVALIN_CASE(11)
        TOVALIN_CASE(12)
        TOVALIN_CASE(13)
        TOVALIN_CASE(14)
        TOVALIN_CASE(15)
        TOVALIN_CASE(16)
        TOVALIN_CASE(17)
        TOVALIN_CASE(18)
        TOVALIN_CASE(19)
#undef TOVALIN_CASE
    }
    return 0; // k is always one of the cases
}

constexpr char kDigitPairs[] = "00010203040506070809101112131415161718192021222324"
                               "25262728293031323334353637383940414243444546474849"
                               "50515253545556575859606162636465666768697071727374"
                               "75767778798081828384858687888990919293949596979899";

// The decimal digits of value into the count units ending at end.
template <typename Unit> void writeDigitUnits(Unit* end, int count, std::uint64_t value) {
    // In 32 bits while the value fits: the usual case, and cheaper.
    for (; count >= 2 && value > 0xFFFFFFFFu; count -= 2) {
        const auto pair = static_cast<unsigned>(value % 100) * 2;
        value /= 100;
        *--end = Unit(kDigitPairs[pair + 1]);
        *--end = Unit(kDigitPairs[pair]);
    }
    auto small = static_cast<std::uint32_t>(value);
    for (; count >= 2; count -= 2) {
        const auto pair = (small % 100) * 2;
        small /= 100;
        *--end = Unit(kDigitPairs[pair + 1]);
        *--end = Unit(kDigitPairs[pair]);
    }
    if (count == 1)
        *--end = Unit('0' + small % 10);
}

// Decimal digits of a value above zero: the bit length gives the count or
// one more.
int digitCount(std::uint64_t value) {
    const int guess = (std::bit_width(value) * 1233) >> 12;
    return guess + (value >= kPowersOfTen[guess] ? 1 : 0);
}

SignificantDigits significantDigits(double magnitude, int precision) {
    SignificantDigits result{};
    result.count = precision;
    std::uint64_t digits;
    int exponent;
    if (precision == 15 && fifteenDigits(magnitude, digits, exponent)) {
        writeDigitUnits(result.digits + 15, 15, digits);
        result.exponent = exponent;
        return result;
    }
    char text[40];
    // The shortest text that reads back as the value is much cheaper to get
    // than a fixed count of digits. When it has no more digits than asked
    // for, it is that correctly rounded text padded with zeros: for a normal
    // double, decimals of 15 or fewer digits lie farther apart than the
    // doubles do, so no other one can be nearer the value. Not so for
    // subnormals, whose spacing is fixed: those take the long way.
    if (magnitude == 0 || magnitude >= std::numeric_limits<double>::min()) {
        const auto shortest =
            std::to_chars(text, text + sizeof text, magnitude, std::chars_format::scientific);
        const int n = splitScientific(text, shortest.ptr, result);
        if (n <= precision) {
            std::fill(result.digits + n, result.digits + precision, '0');
            result.zero = result.digits[0] == '0';
            return result;
        }
    }
    // Scientific with precision-1 decimals is "d.ddd...e+XX", as printf's %.*e.
    const auto written = std::to_chars(text, text + sizeof text, magnitude,
                                       std::chars_format::scientific, precision - 1);
    splitScientific(text, written.ptr, result);
    result.zero = result.digits[0] == '0';
    return result;
}

QString toQString(const TextBuffer& buffer) {
    return QString(reinterpret_cast<const QChar*>(buffer.constData()), buffer.size());
}

void appendLatin1(TextBuffer& out, const char* text) {
    for (; *text; ++text)
        out.append(char16_t(*text));
}

// The text printf's %G would give for infinities and NaN; they never come from
// parsing, but must still show as something.
bool appendNonFinite(TextBuffer& out, double value) {
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

// Whole numbers below 10^15 are written with all their digits by %.15G, and
// nothing else: the handles, counters and point numbers the files carry.
// Returns false for any other value.
bool appendWholeNumber(TextBuffer& out, double value) {
    if (!(std::fabs(value) < 1e15) || value != std::trunc(value) || value == 0)
        return false;
    if (value < 0)
        out.append(u'-');
    const auto whole = static_cast<std::uint64_t>(std::fabs(value));
    const int count = digitCount(whole);
    const qsizetype used = out.size();
    out.resize(used + count);
    writeDigitUnits(out.data() + used + count, count, whole);
    return true;
}

// %.<precision>G with the regional decimal character; negative zero shows "0".
void appendGeneral(TextBuffer& out, double value, int precision, char16_t dec) {
    if (appendNonFinite(out, value))
        return;
    if (value == 0) {
        out.append(u'0');
        return;
    }
    if (precision == 15 && appendWholeNumber(out, value))
        return;
    if (value < 0)
        out.append(u'-');
    const SignificantDigits d = significantDigits(std::fabs(value), precision);
    int used = d.count;
    while (used > 1 && d.digits[used - 1] == '0')
        --used;
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
}

QString generalText(double value, int precision, QChar decimal) {
    TextBuffer out;
    appendGeneral(out, value, precision, decimal.unicode());
    return toQString(out);
}

// The pattern's ordinary characters on one side of the number.
void collectLiterals(std::u16string& out, QStringView pattern, qsizetype from, qsizetype to) {
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
        out.push_back(c);
    }
}

} // namespace

// ---------------------------------------------------------------------------
// Pattern formatting

NumberPattern::NumberPattern(QStringView pattern, const NumberFormat& fmt)
    : decimal_(fmt.decimal.unicode()), group_(fmt.group.unicode()) {
    qsizetype firstPlaceholder = -1;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const char16_t c = pattern[i].unicode();
        if (c == u'0' || c == u'#') {
            if (!hasPlaceholder_)
                firstPlaceholder = i;
            hasPlaceholder_ = true;
            if (hasDecimalPoint_) {
                ++decimals_;
                if (c == u'0')
                    mandatoryDecimals_ = decimals_;
            } else if (c == u'0') {
                ++integerZeros_;
            }
        } else if (c == u'.' && !hasDecimalPoint_) {
            hasDecimalPoint_ = true;
        } else if (c == u',' && !hasDecimalPoint_) {
            grouping_ = true;
        }
    }
    if (hasPlaceholder_) {
        collectLiterals(prefix_, pattern, 0, firstPlaceholder);
        collectLiterals(suffix_, pattern, firstPlaceholder, pattern.size());
    }
    // The regional characters in UTF-8, for writeUtf8.
    auto utf8Of = [](char16_t c, char* out) {
        if (c < 0x80) {
            out[0] = char(c);
            return 1;
        }
        if (c < 0x800) {
            out[0] = char(0xC0 | (c >> 6));
            out[1] = char(0x80 | (c & 0x3F));
            return 2;
        }
        out[0] = char(0xE0 | (c >> 12));
        out[1] = char(0x80 | ((c >> 6) & 0x3F));
        out[2] = char(0x80 | (c & 0x3F));
        return 3;
    };
    decimal8Size_ = utf8Of(decimal_, decimal8_);
    group8Size_ = utf8Of(group_, group8_);
    // A lone surrogate has no UTF-8 form: such a character stays on the long way.
    // A pattern whose longest text would not fit the callers' room (many
    // leading zeros, grouped) takes the long way too.
    const int integerDigits = widestInteger();
    const int longest = 1 + integerDigits + (grouping_ ? integerDigits / 3 * group8Size_ : 0) +
                        (hasDecimalPoint_ ? decimal8Size_ : 0) + decimals_;
    utf8Ready_ = hasPlaceholder_ && prefix_.empty() && suffix_.empty() &&
                 !QChar::isSurrogate(decimal_) && !(grouping_ && QChar::isSurrogate(group_)) &&
                 longest <= kUtf8Room;
    ascii_ = decimal_ < 0x80 && (!grouping_ || group_ < 0x80);
}

QString NumberPattern::format(double value) const {
    TextBuffer out;
    append(out, value);
    return toQString(out);
}

// The same digits as below in integer arithmetic, for the values of survey
// files: the 15 significant digits as one integer, rounded half up to the
// pattern's decimals by adding half of the last unit kept, which carries
// exactly as rounding the digit text does. Gives the whole part and the
// decimals as integers; false outside the range this covers.
bool NumberPattern::fixedParts(double value, std::uint64_t& whole, std::uint64_t& fraction) const {
    if (decimals_ > 19)
        return false;
    if (value == 0) {
        whole = 0;
        fraction = 0;
        return true;
    }
    const double magnitude = std::fabs(value);
    if (magnitude >= 1e-5 && decimals_ <= 15) {
        // Mostly the answer is plain: the value in units of the last decimal,
        // rounded. The 15 digits differ from the value by at most 5e-15 of
        // it, and the product by 2^-53 of itself; when no half unit lies
        // that near, both roundings give the same units. Otherwise (and for
        // more digits than 15) the exact way below decides.
        const double scaled = magnitude * kExactPowers[decimals_];
        if (scaled < 1e15) {
            const double floor = std::floor(scaled);
            const double rest = scaled - floor; // exact
            if (std::fabs(rest - 0.5) > 1e-14 * scaled) {
                const auto units = std::uint64_t(floor) + (rest > 0.5 ? 1 : 0);
                whole = dividedByPowerOfTen(units, decimals_);
                fraction = units - whole * kPowersOfTen[decimals_];
                return true;
            }
        }
    }
    std::uint64_t digits;
    int exponent;
    if (!fifteenDigits(magnitude, digits, exponent))
        return false;
    const int kept = exponent + 1 + decimals_; // digits up to the last decimal
    if (kept > 19)
        return false;
    std::uint64_t units; // the value in units of the last decimal, rounded
    if (kept >= 15)
        units = digits * kPowersOfTen[kept - 15];
    else if (kept > 0)
        units = dividedByPowerOfTen(digits + 5 * kPowersOfTen[14 - kept], 15 - kept);
    else if (kept == 0)
        units = digits >= 5 * kPowersOfTen[14] ? 1 : 0;
    else
        units = 0;
    whole = dividedByPowerOfTen(units, decimals_);
    fraction = units - whole * kPowersOfTen[decimals_];
    return true;
}

// Writes the number from its parts in the pattern's layout, in UTF-16 or
// UTF-8 units: sign, leading zeros, grouped whole digits, decimals without
// the optional zeros at their end. Returns the end of what was written.
template <typename Unit>
Unit* NumberPattern::writeFixed(Unit* p, bool negative, std::uint64_t whole, std::uint64_t fraction,
                                const Characters<Unit>& characters) const {
    if (negative)
        *p++ = Unit('-');
    // Short texts, copied unit by unit: a call to copy them costs more.
    for (const Unit c : characters.prefix)
        *p++ = c;
    const int significant = whole == 0 ? 0 : digitCount(whole);
    const int integerDigits = std::max(significant, integerZeros_);
    const int padding = integerDigits - significant;
    if (!grouping_) {
        for (int i = 0; i < padding; ++i)
            *p++ = Unit('0');
        writeDigitUnits(p + significant, significant, whole);
        p += significant;
    } else {
        char digits[20];
        writeDigitUnits(digits + significant, significant, whole);
        for (int i = 0; i < integerDigits; ++i) {
            if (i > 0 && (integerDigits - i) % 3 == 0)
                for (const Unit c : characters.group)
                    *p++ = c;
            *p++ = i < padding ? Unit('0') : Unit(digits[i - padding]);
        }
    }
    if (hasDecimalPoint_) {
        for (const Unit c : characters.decimal)
            *p++ = c;
        int decimals = decimals_;
        // Optional decimals are dropped while they are zeros.
        while (decimals > mandatoryDecimals_ && fraction % 10 == 0) {
            fraction /= 10;
            --decimals;
        }
        writeDigitUnits(p + decimals, decimals, fraction);
        p += decimals;
    }
    for (const Unit c : characters.suffix)
        *p++ = c;
    return p;
}

bool NumberPattern::appendFixed(TextBuffer& out, double value) const {
    std::uint64_t whole;
    std::uint64_t fraction;
    if (!fixedParts(value, whole, fraction))
        return false;
    const qsizetype start = out.size();
    // Room for the longest text: sign, literals, every integer digit with a
    // group character between each three, the decimal character, decimals.
    const int integerDigits = widestInteger();
    out.resize(start + 2 + qsizetype(prefix_.size() + suffix_.size()) + integerDigits +
               integerDigits / 3 + decimals_);
    const Characters<char16_t> characters{prefix_, suffix_, std::u16string_view(&decimal_, 1),
                                          std::u16string_view(&group_, 1)};
    char16_t* end = writeFixed(out.data() + start, value < 0, whole, fraction, characters);
    out.resize(end - out.data());
    return true;
}

int NumberPattern::writeUtf8(double value, char* out) const {
    std::uint64_t whole;
    std::uint64_t fraction;
    if (!utf8Ready_ || !fixedParts(value, whole, fraction))
        return -1;
    return writeUtf8Parts(value < 0, whole, fraction, out);
}

int NumberPattern::writeUtf8Parts(bool negative, std::uint64_t whole, std::uint64_t fraction,
                                  char* out) const {
    if (!utf8Ready_ || decimals_ > 19 || fraction >= kPowersOfTen[decimals_])
        return -1;
    const Characters<char> characters{{},
                                      {},
                                      std::string_view(decimal8_, std::size_t(decimal8Size_)),
                                      std::string_view(group8_, std::size_t(group8Size_))};
    return int(writeFixed(out, negative, whole, fraction, characters) - out);
}

void NumberPattern::append(TextBuffer& out, double value) const {
    if (!hasPlaceholder_) {
        appendGeneral(out, value, 15, decimal_);
        return;
    }
    if (appendNonFinite(out, value))
        return;
    if (appendFixed(out, value))
        return;

    // Rounding works on the 15-digit decimal text, half away from zero, so that
    // 1.0005 rounds up although its binary value lies just below the half.
    const SignificantDigits d = significantDigits(std::fabs(value), 15);
    char rounded[16];
    int length = 0;       // digits in rounded[], rounded[0] at 10^top
    int top = d.exponent; // meaningful only when length > 0
    if (!d.zero) {
        const int kept = d.exponent + 1 + decimals_;
        if (kept >= d.count) {
            length = d.count;
            std::copy(d.digits, d.digits + d.count, rounded);
        } else if (kept == 0) {
            if (d.digits[0] >= '5') {
                rounded[0] = '1';
                length = 1;
                top = -decimals_;
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

    const int significantInteger = (length > 0 && top >= 0) ? top + 1 : 0;
    const int integerDigits = std::max(significantInteger, integerZeros_);
    // Written in place: room for the longest text this can give.
    const qsizetype start = out.size();
    out.resize(start + 2 + qsizetype(prefix_.size() + suffix_.size()) + integerDigits +
               integerDigits / 3 + decimals_);
    char16_t* p = out.data() + start;
    if (value < 0)
        *p++ = u'-';
    p = std::copy(prefix_.begin(), prefix_.end(), p);
    for (int i = 0; i < integerDigits; ++i) {
        if (grouping_ && i > 0 && (integerDigits - i) % 3 == 0)
            *p++ = group_;
        *p++ = digitAt(integerDigits - 1 - i);
    }
    if (hasDecimalPoint_) {
        *p++ = decimal_;
        int decimals = decimals_;
        while (decimals > mandatoryDecimals_ && digitAt(-decimals) == u'0')
            --decimals;
        for (int i = 1; i <= decimals; ++i)
            *p++ = digitAt(-i);
    }
    p = std::copy(suffix_.begin(), suffix_.end(), p);
    out.resize(p - out.data());
}

namespace {

// ---------------------------------------------------------------------------
// Text to number

// A long number gathered for std::from_chars with only what decides the
// double, so that a text of any length costs a few hundred bytes of stack:
// the first kKeptDigits significant digits, whether a digit after them is
// not zero, and the decimal exponent. Past 767 significant digits no digit
// can change the rounding of a double other than by not being zero, which
// one digit 1 appended in their place stands for.
class LongNumber {
public:
    void push(char c) {
        if (c >= '0' && c <= '9')
            pushDigit(c);
        else if (c == '-')
            (inExponent_ ? exponentNegative_ : negative_) = true;
        else if (c == '.')
            afterPoint_ = true;
        else if (c == 'e')
            inExponent_ = true;
    }
    template <typename Real> std::from_chars_result read(Real& value) const {
        char text[kKeptDigits + 32];
        char* p = text;
        if (negative_)
            *p++ = '-';
        *p++ = '0';
        if (count_ > 0) {
            *p++ = '.';
            std::memcpy(p, digits_, std::size_t(count_));
            p += count_;
            if (sticky_)
                *p++ = '1';
            *p++ = 'e';
            p = std::to_chars(p, text + sizeof text, decimalExponent()).ptr;
        }
        return std::from_chars(text, p, value);
    }
    // 0.d... x 10^exponent: its first digit stands at 10^(exponent - 1).
    bool aboveOne() const { return count_ > 0 && decimalExponent() - 1 > 0; }

private:
    static constexpr int kKeptDigits = 800;
    // Far past any double's range, and far from long long's.
    static constexpr long long kExponentCap = 1000000000000LL;

    void pushDigit(char c) {
        if (inExponent_) {
            exponent_ = std::min(exponent_ * 10 + (c - '0'), kExponentCap);
        } else if (count_ == 0 && c == '0') {
            if (afterPoint_)
                --scale_; // a zero before the first significant digit
        } else {
            if (!afterPoint_)
                ++scale_;
            if (count_ < kKeptDigits)
                digits_[count_++] = c;
            else if (c != '0')
                sticky_ = true;
        }
    }
    long long decimalExponent() const {
        const long long exponent = scale_ + (exponentNegative_ ? -exponent_ : exponent_);
        return std::clamp(exponent, -100000LL, 100000LL);
    }

    char digits_[kKeptDigits];
    int count_ = 0;
    long long scale_ = 0; // the value is 0.digits x 10^(scale_ + exponent_)
    long long exponent_ = 0;
    bool negative_ = false;
    bool exponentNegative_ = false;
    bool afterPoint_ = false;
    bool inExponent_ = false;
    bool sticky_ = false;
};

// The number gathered as ASCII for std::from_chars, pushed as its callers
// spell it: an optional '-', digits with at most one '.', then optionally
// 'e', an optional '-' and digits. The readers call this for every
// coordinate of files of millions of points, so the usual text stays as it
// is in a stack buffer; a longer one is read as a LongNumber.
class AsciiNumber {
public:
    void push(char c) {
        if (size_ < sizeof local_) [[likely]]
            local_[size_++] = c;
        else
            pushLong(c);
    }
    template <typename Real> std::from_chars_result read(Real& value) const {
        return isLong() ? long_.read(value) : std::from_chars(local_, local_ + size_, value);
    }
    // Whether a value out of range overflows rather than underflows: rare
    // enough for a short text to be read again the long way.
    bool aboveOne() const {
        if (isLong())
            return long_.aboveOne();
        LongNumber number;
        for (std::size_t i = 0; i < size_; ++i)
            number.push(local_[i]);
        return number.aboveOne();
    }

private:
    bool isLong() const { return size_ > sizeof local_; }
    [[gnu::noinline]] void pushLong(char c) {
        if (size_ == sizeof local_) {
            for (char k : local_)
                long_.push(k);
            ++size_;
        }
        long_.push(c);
    }

    char local_[96];
    std::size_t size_ = 0;
    LongNumber long_;
};

enum class Conversion { Ok, Mismatch, Overflow };

// Converts the gathered text; an underflow gives 0.
template <typename Real> Conversion convert(const AsciiNumber& text, Real& value) {
    const auto result = text.read(value);
    if (result.ec == std::errc::result_out_of_range) {
        if (text.aboveOne())
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
// Text is anything that gives the UTF-16 unit at an index: the units of a
// QString, or the bytes of a file decoded one at a time.
template <typename Text>
bool gatherLocaleNumber(const Text& s, qsizetype n, const NumberFormat& fmt, AsciiNumber& out) {
    qsizetype begin = 0;
    qsizetype end = n;
    while (begin < end && s[begin] == u' ')
        ++begin;
    while (end > begin && s[end - 1] == u' ')
        --end;
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

template <typename Real, typename Text>
Conversion readLocaleNumber(const Text& s, qsizetype n, Real& value, const NumberFormat& fmt) {
    AsciiNumber gathered;
    if (!gatherLocaleNumber(s, n, fmt, gathered))
        return Conversion::Mismatch;
    return convert(gathered, value);
}

template <typename Real>
Conversion readLocaleNumber(QStringView text, Real& value,
                            const NumberFormat& fmt = NumberFormat::current()) {
    return readLocaleNumber(text.utf16(), text.size(), value, fmt);
}

// Bytes of a file, each decoded as it is looked at: a long text is never
// copied.
struct Cp1252Units {
    const char* bytes;
    char16_t operator[](qsizetype i) const { return DecodeCp1252Byte(bytes[i]).unicode(); }
};

// Bytes with the first comma read as a point, as CommaToPoint would leave
// them, without the copy.
struct FirstCommaAsPoint {
    const unsigned char* bytes;
    qsizetype comma; // -1 without one
    unsigned char operator[](qsizetype i) const { return i == comma ? '.' : bytes[i]; }
};

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

// The text as the files usually hold it: a sign, digits and at most one point,
// nothing else, and short enough to stay in range. The value is what the
// general reading gives (which only adds a leading zero).
template <typename Text> bool plainNumber(const Text& s, qsizetype n, double& value) {
    if (n == 0 || n > 40)
        return false;
    const bool negative = s[0] == '-';
    qsizetype i = (s[0] == '+' || s[0] == '-') ? 1 : 0;
    const qsizetype digitsStart = i;
    auto isDigit = [](auto c) { return c >= '0' && c <= '9'; };
    // Zeros in front count for nothing; then the whole part and the decimals.
    while (i < n && s[i] == '0')
        ++i;
    const qsizetype zeros = i - digitsStart;
    std::uint64_t whole = 0;
    for (; i < n && isDigit(s[i]); ++i)
        whole = whole * 10 + std::uint64_t(s[i] - '0');
    int decimals = -1; // digits after the point, -1 without a point
    int significant = int(i - digitsStart - zeros);
    if (i < n && s[i] == '.') {
        const qsizetype point = i++;
        if (significant == 0) {
            // Zeros after the point, before the first digit, count for nothing either.
            while (i < n && s[i] == '0')
                ++i;
        }
        const qsizetype first = i;
        for (; i < n && isDigit(s[i]); ++i)
            whole = whole * 10 + std::uint64_t(s[i] - '0');
        significant += int(i - first);
        decimals = int(i - point - 1);
    }
    if (i != n)
        return false;
    const qsizetype digits = n - digitsStart - (decimals >= 0 ? 1 : 0);
    if (digits == 0)
        return false;
    if (significant <= 15 && decimals <= 22) {
        // Digits and power of ten are both exact doubles, so one division
        // rounds correctly, as from_chars does.
        const double magnitude = double(whole) / kExactPowers[std::max(decimals, 0)];
        value = negative ? -magnitude : magnitude;
        return true;
    }
    char text[48];
    int k = 0;
    if (negative)
        text[k++] = '-';
    for (i = digitsStart; i < n; ++i)
        text[k++] = static_cast<char>(s[i]);
    std::from_chars(text, text + k, value);
    return true;
}

// Val over UTF-16 units or single bytes: only ASCII characters take part.
template <typename Text> double leadingNumber(const Text& s, qsizetype n) {
    if (double plain = 0; plainNumber(s, n, plain))
        return plain;
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

QLocale RegionalLocale(const QString& lcAll, const QString& lcNumeric, const QString& lang) {
    // The numeric locale is the first of these that is set, as the C library
    // decides it; QLocale::system() would follow LC_MESSAGES and LANG instead.
    QString name = !lcAll.isEmpty() ? lcAll : !lcNumeric.isEmpty() ? lcNumeric : lang;
    // "fr_FR.UTF-8@euro" names the locale fr_FR.
    name = name.section(u'@', 0, 0).section(u'.', 0, 0);
    const QLocale french(QLocale::French, QLocale::France);
    if (name.isEmpty() || name == u"C" || name == u"POSIX")
        return french;
    const QLocale locale(name);
    // A name Qt does not know comes back as the C locale: the French format too.
    return locale.language() == QLocale::C ? french : locale;
}

void installRegionalFormat() {
    QLocale::setDefault(RegionalLocale(qEnvironmentVariable("LC_ALL"),
                                       qEnvironmentVariable("LC_NUMERIC"),
                                       qEnvironmentVariable("LANG")));
}

QString Format(double value, QStringView pattern) {
    return NumberPattern(pattern, NumberFormat::current()).format(value);
}

QString Format(double value, QStringView pattern, const NumberFormat& fmt) {
    return NumberPattern(pattern, fmt).format(value);
}

QString Format(const QString& text, QStringView pattern) {
    double value = 0;
    if (readLocaleNumber(text, value) != Conversion::Ok)
        return text;
    return NumberPattern(pattern, NumberFormat::current()).format(value);
}

QString FileSizeText(qint64 bytes) {
    return QLocale().formattedDataSize(bytes);
}

QString DefaultText(double value) {
    return generalText(value, 15, NumberFormat::current().decimal);
}

QString DefaultText(double value, const NumberFormat& fmt) {
    return generalText(value, 15, fmt.decimal);
}

void AppendDefaultText(TextBuffer& out, double value, const NumberFormat& fmt) {
    appendGeneral(out, value, 15, fmt.decimal.unicode());
}

QString DefaultTextFloat(float value) {
    return generalText(double(value), 7, NumberFormat::current().decimal);
}

QString NumericPrint(double value) {
    return QLatin1Char(' ') + DefaultText(value) + QLatin1Char(' ');
}

double Val(QStringView text) {
    return leadingNumber(text.utf16(), text.size());
}

double Val(QLatin1StringView text) {
    return leadingNumber(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

double CDbl(QStringView text) {
    double value = 0;
    raise(readLocaleNumber(text, value));
    return value;
}

float CSng(QStringView text) {
    return CSng(text, NumberFormat::current());
}

float CSng(QStringView text, const NumberFormat& fmt) {
    // Read straight to float: going through double could round twice.
    float value = 0;
    raise(readLocaleNumber(text, value, fmt));
    return value;
}

int16_t CInt(QStringView text) {
    return ToInt16(CDbl(text));
}

int32_t CLng(QStringView text) {
    return ToInt32(CDbl(text));
}

bool ReadPlainNumber(QByteArrayView text, char decimal, double& value) {
    const char* p = text.data();
    const char* const end = p + text.size();
    // from_chars takes no '+' and only '.' as decimal point: the checked text
    // is gathered without the one and with the other.
    AsciiNumber gathered;
    if (p != end && (*p == '+' || *p == '-')) {
        if (*p == '-')
            gathered.push('-');
        ++p;
    }
    bool digits = false;
    for (; p != end && *p >= '0' && *p <= '9'; ++p) {
        gathered.push(*p);
        digits = true;
    }
    if (p != end && *p == decimal) {
        gathered.push('.');
        for (++p; p != end && *p >= '0' && *p <= '9'; ++p) {
            gathered.push(*p);
            digits = true;
        }
    }
    if (!digits)
        return false;
    if (p != end && (*p == 'e' || *p == 'E')) {
        gathered.push('e');
        ++p;
        if (p != end && (*p == '+' || *p == '-')) {
            if (*p == '-')
                gathered.push('-');
            ++p;
        }
        bool exponentDigits = false;
        for (; p != end && *p >= '0' && *p <= '9'; ++p) {
            gathered.push(*p);
            exponentDigits = true;
        }
        if (!exponentDigits)
            return false;
    }
    if (p != end)
        return false;
    double read = 0;
    if (convert(gathered, read) != Conversion::Ok)
        return false;
    value = read;
    return true;
}

bool IsPlainWholeNumber(QByteArrayView text) {
    qsizetype i = !text.isEmpty() && (text[0] == '+' || text[0] == '-') ? 1 : 0;
    if (i == text.size())
        return false;
    for (; i < text.size(); ++i)
        if (text[i] < '0' || text[i] > '9')
            return false;
    return true;
}

bool ReadLocaleNumber(QStringView text, const NumberFormat& fmt, double& value) {
    return readLocaleNumber(text.utf16(), text.size(), value, fmt) == Conversion::Ok;
}

bool ReadLocaleNumberCp1252(QByteArrayView bytes, const NumberFormat& fmt, double& value) {
    return readLocaleNumber(Cp1252Units{bytes.data()}, bytes.size(), value, fmt) == Conversion::Ok;
}

double ValFirstCommaAsPoint(QByteArrayView bytes) {
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const void* comma =
        bytes.isEmpty() ? nullptr : std::memchr(data, ',', std::size_t(bytes.size()));
    const qsizetype at = comma ? static_cast<const unsigned char*>(comma) - data : -1;
    return leadingNumber(FirstCommaAsPoint{data, at}, bytes.size());
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

int WriteWholeNumber(std::uint64_t value, char* out) {
    const int count = value == 0 ? 1 : digitCount(value);
    writeDigitUnits(out + count, count, value);
    return count;
}

} // namespace platform
