// The number text under both regional formats: Format with a pattern taken
// from the input, the pattern's fast writers, Val and the locale-aware
// conversions. Nothing crashes, the three ways of formatting agree, and a
// file's bytes read as their decoded text does.
#include "FuzzSupport.h"

#include "platform/RuntimeError.h"
#include "platform/TextFile.h"

#include <cmath>
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

void checkFormat(double value, const QString& pattern, const NumberFormat& fmt) {
    const NumberPattern compiled(pattern, fmt);
    const QString text = Format(value, pattern, fmt);
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
}

void checkConversions(const QString& text, const NumberFormat& fmt) {
    const std::optional<double> val = tried([&] { return Val(text); });
    bool latin1 = true;
    for (QChar c : text)
        latin1 = latin1 && c.unicode() < 0x100;
    if (latin1) {
        const QByteArray bytes = text.toLatin1();
        const std::optional<double> valBytes =
            tried([&] { return Val(QLatin1StringView(bytes.constData(), bytes.size())); });
        FUZZ_CHECK(sameResult(val, valBytes), text);
        // Read where a file holds them, the bytes give what their decoded
        // text gives.
        const QString decoded = DecodeCp1252(bytes);
        double fromBytes = 0, fromText = 0;
        const bool readsBytes = ReadLocaleNumberCp1252(bytes, fmt, fromBytes);
        FUZZ_CHECK(readsBytes == ReadLocaleNumber(decoded, fmt, fromText), text);
        FUZZ_CHECK(!readsBytes || SameDouble(fromBytes, fromText), text);
        QString pointed = decoded;
        if (const qsizetype comma = pointed.indexOf(u','); comma >= 0)
            pointed[comma] = u'.';
        FUZZ_CHECK(sameResult(tried([&] { return ValFirstCommaAsPoint(bytes); }),
                              tried([&] { return Val(pointed); })),
                   text);
    }
    Format(text, QStringView(text));
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
    if (auto number = tried([&] { return CDbl(text); }))
        checkFormat(*number, pattern, fmt);
    return 0;
}
