#include "import/ImportText.h"

#include "platform/LargeMemory.h"
#include "platform/RuntimeError.h"
#include "platform/TextFile.h"

#include <QFileInfo>
#include <QStringDecoder>
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

QByteArray utf16ToUtf8(QByteArrayView bytes, bool bigEndian) {
    QStringDecoder decoder(bigEndian ? QStringDecoder::Utf16BE : QStringDecoder::Utf16LE,
                           QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    return text.toUtf8();
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
        text.utf8_ = utf16ToUtf8(QByteArrayView(bytes).sliced(2), false);
    } else if (startsWith(bytes, "\xFE\xFF", 2)) {
        text.encoding_ = QStringLiteral("UTF-16BE");
        text.utf8_ = utf16ToUtf8(QByteArrayView(bytes).sliced(2), true);
    } else if (const int utf16 = utf16Without(bytes)) {
        text.encoding_ = utf16 == 1 ? QStringLiteral("UTF-16LE") : QStringLiteral("UTF-16BE");
        text.utf8_ = utf16ToUtf8(bytes, utf16 == 2);
    } else if (bytes.isValidUtf8()) {
        text.encoding_ = QStringLiteral("UTF-8");
        text.utf8_ = std::move(bytes);
    } else {
        text.encoding_ = QStringLiteral("Windows-1252");
        text.utf8_ = DecodeCp1252(bytes).toUtf8();
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
