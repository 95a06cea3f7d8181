#include "import/ImportText.h"

#include "platform/LargeMemory.h"
#include "platform/RuntimeError.h"
#include "platform/TextFile.h"

#include <QFileInfo>
#include <QStringDecoder>
#include <algorithm>
#include <cstring>

using namespace platform;

namespace importing {

namespace {

// Line offsets are 32-bit: the text, once UTF-8, must stay below 4 GiB.
constexpr qint64 kMostFileBytes = qint64(1) << 31;
constexpr qint64 kMostTextBytes = qint64(0xFFFFFFFFu);

bool startsWith(const QByteArray& bytes, const char* mark, qsizetype length) {
    return bytes.size() >= length && std::memcmp(bytes.constData(), mark, std::size_t(length)) == 0;
}

// UTF-16 without a mark: text files are mostly ASCII, so one of each pair
// of bytes is zero. Only the first bytes are looked at; a file with a zero
// byte here and there stays a single-byte file.
int utf16Without(const QByteArray& bytes) {
    const qsizetype n = std::min<qsizetype>(bytes.size() & ~qsizetype(1), 512);
    if (n < 4)
        return 0;
    qsizetype evenZeros = 0, oddZeros = 0;
    for (qsizetype i = 0; i < n; i += 2) {
        evenZeros += bytes[i] == 0;
        oddZeros += bytes[i + 1] == 0;
    }
    if (oddZeros * 10 >= n / 2 * 9 && evenZeros == 0)
        return 1; // little-endian
    if (evenZeros * 10 >= n / 2 * 9 && oddZeros == 0)
        return 2;
    return 0;
}

// The UTF-8 of the bytes from the offset on, decoded a stretch at a time;
// each stretch done is given back to the system, so a large file is never
// held beside its whole conversion. The bytes are spent. The room is
// reserved first, at most what the conversion may take, so that the text is
// never moved as it grows.
template <typename Decode>
QByteArray toUtf8InStretches(QByteArray& bytes, qsizetype from, qsizetype most, Decode decode) {
    constexpr qsizetype kStretch = qsizetype(1) << 20; // even: UTF-16 units stay whole
    QByteArray utf8;
    utf8.reserve(most);
    char* const data = bytes.data();
    for (qsizetype at = from; at < bytes.size(); at += kStretch) {
        const qsizetype length = std::min(kStretch, bytes.size() - at);
        const QString text = decode(QByteArrayView(data + at, length));
        utf8.append(text.toUtf8());
        ReleaseDoneBytes(data + at, std::size_t(length));
    }
    bytes = QByteArray();
    return utf8;
}

QByteArray utf16ToUtf8(QByteArray& bytes, qsizetype from, bool bigEndian) {
    // Stateful: a surrogate pair may straddle two stretches.
    QStringDecoder decoder(bigEndian ? QStringDecoder::Utf16BE : QStringDecoder::Utf16LE);
    const bool oddByte = (bytes.size() - from) % 2 != 0;
    // A unit takes one byte in UTF-8 when ASCII, at most three otherwise.
    qsizetype most = 3;
    const auto* units = reinterpret_cast<const unsigned char*>(bytes.constData());
    for (qsizetype i = from; i + 1 < bytes.size(); i += 2)
        most +=
            units[i + (bigEndian ? 0 : 1)] == 0 && units[i + (bigEndian ? 1 : 0)] < 0x80 ? 1 : 3;
    QByteArray utf8 = toUtf8InStretches(bytes, from, most,
                                        [&decoder](QByteArrayView part) { return decoder(part); });
    if (oddByte)
        utf8.append("\xEF\xBF\xBD"); // a last byte alone, as a whole decoding shows it
    return utf8;
}

} // namespace

ImportText ImportText::fromFile(const QString& fileName) {
    const QFileInfo info(fileName);
    if (info.exists() && info.isFile() && info.size() >= kMostFileBytes)
        throw RuntimeError(RuntimeError::Overflow);
    QByteArray bytes = ReadWholeFile(fileName);
    if (bytes.size() >= kMostFileBytes)
        throw RuntimeError(RuntimeError::Overflow);
    return fromBytes(std::move(bytes));
}

ImportText ImportText::fromBytes(QByteArray bytes) {
    ImportText text;
    if (startsWith(bytes, "\xEF\xBB\xBF", 3)) {
        text.encoding_ = QStringLiteral("UTF-8 avec BOM");
        bytes.remove(0, 3);
        // Kept as it is: invalid sequences become U+FFFD where decoded.
        text.utf8_ = std::move(bytes);
    } else if (startsWith(bytes, "\xFF\xFE", 2)) {
        text.encoding_ = QStringLiteral("UTF-16LE");
        text.utf8_ = utf16ToUtf8(bytes, 2, false);
    } else if (startsWith(bytes, "\xFE\xFF", 2)) {
        text.encoding_ = QStringLiteral("UTF-16BE");
        text.utf8_ = utf16ToUtf8(bytes, 2, true);
    } else if (const int utf16 = utf16Without(bytes)) {
        text.encoding_ = utf16 == 1 ? QStringLiteral("UTF-16LE") : QStringLiteral("UTF-16BE");
        text.utf8_ = utf16ToUtf8(bytes, 0, utf16 == 2);
    } else if (bytes.isValidUtf8()) {
        text.encoding_ = QStringLiteral("UTF-8");
        text.utf8_ = std::move(bytes);
    } else {
        text.encoding_ = QStringLiteral("Windows-1252");
        // A byte above 127 takes two or three bytes in UTF-8.
        qsizetype most = bytes.size();
        for (const char c : std::as_const(bytes))
            most += static_cast<unsigned char>(c) >= 0x80 ? 2 : 0;
        text.utf8_ = toUtf8InStretches(bytes, 0, most,
                                       [](QByteArrayView part) { return DecodeCp1252(part); });
    }
    if (text.utf8_.size() > kMostTextBytes)
        throw RuntimeError(RuntimeError::Overflow);

    // Lines end at CR LF, LF or a lone CR, in any mix; the text after the
    // last line end is a line when it is not empty.
    const char* const data = text.utf8_.constData();
    const qsizetype size = text.utf8_.size();
    // Room for lines of 32 bytes on average, in large pages where it is much.
    for (std::vector<std::uint32_t>* offsets : {&text.starts_, &text.ends_}) {
        offsets->reserve(std::size_t(size / 32 + 1));
        AdviseLargeBuffer(offsets->data(), offsets->capacity() * sizeof(std::uint32_t));
    }
    qsizetype start = 0;
    qsizetype i = 0;
    qsizetype lfAt = -1; // the next LF at or after i (size: none), looked for once
    while (i < size) {
        if (lfAt < i) {
            const void* lf = std::memchr(data + i, '\n', std::size_t(size - i));
            lfAt = lf ? static_cast<const char*>(lf) - data : size;
        }
        // A CR before that LF ends the line first.
        const void* cr = std::memchr(data + i, '\r', std::size_t(lfAt - i));
        if (cr) {
            const qsizetype crAt = static_cast<const char*>(cr) - data;
            text.starts_.push_back(std::uint32_t(start));
            text.ends_.push_back(std::uint32_t(crAt));
            if (crAt + 1 == lfAt) {
                ++text.crlf_;
                start = i = crAt + 2;
            } else {
                ++text.cr_;
                start = i = crAt + 1;
            }
        } else if (lfAt < size) {
            text.starts_.push_back(std::uint32_t(start));
            text.ends_.push_back(std::uint32_t(lfAt));
            ++text.lf_;
            start = i = lfAt + 1;
        } else {
            break;
        }
    }
    if (start < size) {
        text.starts_.push_back(std::uint32_t(start));
        text.ends_.push_back(std::uint32_t(size));
    }
    return text;
}

} // namespace importing
