// The number text under both regional formats: Format with a pattern taken
// from the input, the pattern's fast writers, Val and the locale-aware
// conversions. Nothing crashes, the three ways of formatting agree, a plain
// pattern's text reads back as the value it stands for, and the conversions
// agree with one another.
#include "FuzzSupport.h"

#include "platform/RuntimeError.h"

#include <QRegularExpression>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>

using namespace fuzz;
using namespace platform;

namespace {

template <typename Conversion> std::optional<double> tried(Conversion conversion) {
    try {
        return double(conversion());
    } catch (const RuntimeError&) {
        return std::nullopt;
    }
}

bool sameResult(const std::optional<double>& a, const std::optional<double>& b) {
    return a.has_value() == b.has_value() && (!a || SameDouble(*a, *b));
}

// A pattern of placeholders, grouping commas and one decimal point only: its
// text is checked against the value it stands for, read back with strtod, an
// independent reader.
void checkPlainPattern(double value, const QString& pattern, const QString& text,
                       const NumberFormat& fmt) {
    static const QRegularExpression kPlain(QStringLiteral("^[0#,]*(\\.[0#]*)?$"));
    // Rounded to 15 digits, the largest values would read back past the range.
    if (!(std::fabs(value) < 1e308) || !kPlain.match(pattern).hasMatch() ||
        !pattern.contains(QRegularExpression(QStringLiteral("[0#]"))))
        return;
    const qsizetype point = pattern.indexOf(u'.');
    const QStringView whole = point < 0 ? QStringView(pattern) : QStringView(pattern).first(point);
    const QStringView decimals = point < 0 ? QStringView() : QStringView(pattern).sliced(point + 1);
    const qsizetype integerZeros = whole.count(u'0');
    const bool grouping = whole.contains(u',');
    const qsizetype mandatory = decimals.lastIndexOf(u'0') + 1;
    const QString detail = QStringLiteral("%1 under \"%2\" gave \"%3\"")
                               .arg(DefaultText(value, NumberFormat{u'.', u','}), pattern, text);

    QStringView rest(text);
    std::string plain;
    if (rest.startsWith(u'-')) {
        plain += '-';
        rest = rest.sliced(1);
    }
    const qsizetype decimalAt = point < 0 ? -1 : rest.indexOf(fmt.decimal);
    FUZZ_CHECK(point < 0 || decimalAt >= 0, detail);
    const QStringView integerText = decimalAt < 0 ? rest : rest.first(decimalAt);
    const QStringView decimalText = decimalAt < 0 ? QStringView() : rest.sliced(decimalAt + 1);
    // The whole part: digits, grouped by three from the right when asked.
    qsizetype digits = 0;
    for (qsizetype i = integerText.size(); i-- > 0;) {
        const QChar c = integerText[i];
        if (grouping && c == fmt.group) {
            FUZZ_CHECK(digits > 0 && digits % 3 == 0 && i > 0, detail);
            continue;
        }
        FUZZ_CHECK(c >= u'0' && c <= u'9', detail);
        ++digits;
    }
    for (QChar c : integerText) {
        if (c != fmt.group)
            plain += char(c.unicode());
    }
    FUZZ_CHECK(digits >= integerZeros, detail);
    FUZZ_CHECK(decimalText.size() >= mandatory && decimalText.size() <= decimals.size(), detail);
    plain += '.';
    for (QChar c : decimalText) {
        FUZZ_CHECK(c >= u'0' && c <= u'9', detail);
        plain += char(c.unicode());
    }
    plain += '0';
    const double read = std::strtod(plain.c_str(), nullptr);
    // Rounded to the pattern's decimals, from 15 significant digits.
    const double tolerance =
        0.5 * std::pow(10.0, -double(decimals.size())) * (1 + 1e-9) + std::fabs(value) * 1e-14;
    FUZZ_CHECK(std::fabs(read - value) <= tolerance, detail);
}

void checkFormat(double value, const QString& pattern, const NumberFormat& fmt) {
    const NumberPattern compiled(pattern, fmt);
    const QString text = Format(value, pattern, fmt);
    FUZZ_CHECK(compiled.format(value) == text, text);
    TextBuffer buffer;
    buffer.append(u"<", 1);
    compiled.append(buffer, value);
    FUZZ_CHECK(QStringView(buffer.constData(), buffer.size()) == QString(u'<' + text), text);
    char utf8[NumberPattern::kUtf8Room];
    const int written = compiled.writeUtf8(value, utf8);
    if (written >= 0) {
        FUZZ_CHECK(written <= NumberPattern::kUtf8Room, text);
        const QByteArray bytes(utf8, written);
        FUZZ_CHECK(bytes == text.toUtf8(), text + QStringLiteral(" / ") + QString::fromUtf8(bytes));
        if (compiled.writesAscii()) {
            for (char c : bytes)
                FUZZ_CHECK(static_cast<unsigned char>(c) < 0x80, text);
        }
    }
    checkPlainPattern(value, pattern, text, fmt);
}

void checkConversions(const QString& text, const NumberFormat& fmt) {
    const std::optional<double> cdbl = tried([&] { return CDbl(text); });
    double read = 0;
    const bool readable = ReadLocaleNumber(text, fmt, read);
    FUZZ_CHECK(readable == cdbl.has_value() && (!readable || SameDouble(read, *cdbl)), text);
    FUZZ_CHECK(IsNumeric(text) == readable, text);
    const std::optional<double> cint = tried([&] { return CInt(text); });
    const std::optional<double> clng = tried([&] { return CLng(text); });
    const std::optional<double> csng = tried([&] { return CSng(text); });
    if (!readable)
        FUZZ_CHECK(!cint && !clng && !csng, text);
    if (cint)
        FUZZ_CHECK(*cint >= -32768 && *cint <= 32767 && std::fabs(*cint - *cdbl) <= 0.5, text);
    if (clng)
        FUZZ_CHECK(std::fabs(*clng - *cdbl) <= 0.5, text);

    const std::optional<double> val = tried([&] { return Val(text); });
    bool latin1 = true;
    for (QChar c : text)
        latin1 = latin1 && c.unicode() < 0x100;
    if (latin1) {
        const QByteArray bytes = text.toLatin1();
        const std::optional<double> valBytes =
            tried([&] { return Val(QLatin1StringView(bytes.constData(), bytes.size())); });
        FUZZ_CHECK(sameResult(val, valBytes), text);
    }
    Format(text, QStringView(text));
}

// The default text of a value reads back as the value, to its 15 digits.
void checkDefaultText(double value, const NumberFormat& fmt) {
    const QString text = DefaultText(value, fmt);
    TextBuffer buffer;
    AppendDefaultText(buffer, value, fmt);
    FUZZ_CHECK(QStringView(buffer.constData(), buffer.size()) == text, text);
    if (!std::isfinite(value) || std::fabs(value) > 1e308)
        return;
    double read = 0;
    FUZZ_CHECK(ReadLocaleNumber(text, fmt, read), text);
    FUZZ_CHECK(std::fabs(read - value) <= std::fabs(value) * 1e-14, text);
}

} // namespace

// The first byte: the regional format and where the value comes from; then
// the value's eight bytes; then the pattern, a line break and a text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 9)
        return 0;
    const bool french = (data[0] & 1) == 0;
    SetRegionalFormat(french);
    const NumberFormat fmt = NumberFormat::current();
    double value;
    std::memcpy(&value, data + 1, sizeof value);
    if (data[0] & 2) {
        // A value with few digits, as survey files hold them.
        std::int32_t whole;
        std::memcpy(&whole, data + 1, sizeof whole);
        value = double(whole) / std::pow(10.0, data[5] % 8);
    }
    const QString rest =
        QString::fromUtf8(reinterpret_cast<const char*>(data + 9), qsizetype(size - 9));
    const qsizetype lineBreak = rest.indexOf(u'\n');
    const QString pattern = lineBreak < 0 ? rest : rest.first(lineBreak);
    const QString text = lineBreak < 0 ? QString() : rest.sliced(lineBreak + 1);

    checkFormat(value, pattern, fmt);
    checkConversions(text, fmt);
    checkDefaultText(value, fmt);
    if (auto number = tried([&] { return CDbl(text); }))
        checkFormat(*number, pattern, fmt);
    return 0;
}
