#include "platform/TextFile.h"

#include "platform/LargeMemory.h"
#include "platform/NumberText.h"
#include "platform/Parallel.h"
#include "platform/RuntimeError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace platform {

namespace {

// Windows-1252 bytes 0x80..0x9F; the five bytes it leaves undefined keep
// their C1 control character so that they survive a read and write.
constexpr char16_t kHighControls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

constexpr std::array<char16_t, 256> makeDecodeTable() {
    std::array<char16_t, 256> table{};
    for (int i = 0; i < 256; ++i)
        table[i] = (i >= 0x80 && i < 0xA0) ? kHighControls[i - 0x80] : char16_t(i);
    return table;
}

constexpr std::array<char16_t, 256> kDecode = makeDecodeTable();

// The byte of one UTF-16 unit, or -1 when Windows-1252 has no such character.
inline int encodeUnit(char16_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return c;
    // Rare in the program's files: a scan of the 32 entries is enough.
    for (int i = 0; i < 32; ++i) {
        if (kHighControls[i] == c)
            return 0x80 + i;
    }
    return -1;
}

// Writes the bytes of text at out (room for text.size() bytes); returns the
// count written, which is smaller when surrogate pairs were met.
qsizetype encodeInto(QStringView text, char* out) {
    const char16_t* src = text.utf16();
    const qsizetype n = text.size();
    char* start = out;
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = src[i];
        const int byte = encodeUnit(c);
        if (byte >= 0) {
            *out++ = static_cast<char>(byte);
            continue;
        }
        // One character outside the code page is one '?', even when UTF-16
        // needs two units for it.
        if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(src[i + 1]))
            ++i;
        *out++ = '?';
    }
    return out - start;
}

inline void decodeInto(const char* bytes, qsizetype n, QChar* out) {
    const auto* src = reinterpret_cast<const unsigned char*>(bytes);
    for (qsizetype i = 0; i < n; ++i)
        out[i] = QChar(kDecode[src[i]]);
}

inline QString decodeRange(const char* bytes, qsizetype n) {
    QString text(n, Qt::Uninitialized);
    decodeInto(bytes, n, text.data());
    return text;
}

// The run-time error for a failed open: the folder missing is told apart from
// the file missing, as the program's messages do.
int openErrorNumber(int error, const QString& fileName) {
    switch (error) {
    case ENOENT:
        return QFileInfo(fileName).absoluteDir().exists() ? RuntimeError::FileNotFound
                                                          : RuntimeError::PathNotFound;
    case ENOTDIR:
        return RuntimeError::PathNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
    case ETXTBSY:
        return RuntimeError::PermissionDenied;
    default:
        return RuntimeError::PathFileAccess;
    }
}

// Opens with the system call itself so that the reason of a failure (errno) is
// known exactly; QFile takes the descriptor over.
void openFile(QFile& file, const QString& fileName, bool forWriting) {
    if (fileName.isEmpty())
        throw RuntimeError(RuntimeError::PathFileAccess);
    const QByteArray path = QFile::encodeName(fileName);
    const int flags =
        forWriting ? (O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC) : (O_RDONLY | O_CLOEXEC);
    int fd;
    do {
        fd = ::open(path.constData(), flags, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0)
        throw RuntimeError(openErrorNumber(errno, fileName));
    struct stat info;
    if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
        ::close(fd);
        throw RuntimeError(RuntimeError::PathFileAccess);
    }
    const QIODevice::OpenMode mode =
        forWriting ? (QIODevice::WriteOnly | QIODevice::Unbuffered) : QIODevice::ReadOnly;
    if (!file.open(fd, mode, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        throw RuntimeError(RuntimeError::PathFileAccess);
    }
}

// Reads size bytes from offset 0 into data: large files in pieces side by
// side, each thread paying for the memory it fills. False when the file gave
// fewer bytes than that (it shrank meanwhile).
bool readInParts(int fd, char* data, qint64 size) {
    const std::size_t parts = PartsFor(std::size_t(size), std::size_t(8) << 20);
    std::vector<char> complete(parts, 0);
    ForEachPart(std::size_t(size), parts,
                [&](std::size_t part, std::size_t begin, std::size_t end) {
                    while (begin < end) {
                        const ssize_t read = ::pread(fd, data + begin, end - begin, off_t(begin));
                        if (read < 0 && errno == EINTR)
                            continue;
                        if (read <= 0)
                            return;
                        begin += std::size_t(read);
                    }
                    complete[part] = 1;
                });
    return std::all_of(complete.begin(), complete.end(), [](char done) { return done != 0; });
}

QByteArray readWholeFile(const QString& fileName) {
    QFile file;
    openFile(file, fileName, false);
    // Straight into a buffer of the file's size; whatever the file holds past
    // that size (it may be growing) is read as readAll would.
    QByteArray data;
    const qint64 expected = file.size();
    if (expected > 0) {
        data.resize(expected);
        AdviseLargeBuffer(data.data(), std::size_t(expected));
        if (readInParts(file.handle(), data.data(), expected) && file.seek(expected)) {
            data += file.readAll();
        } else {
            // A file that changed while it was read: once more, in order.
            data.clear();
            if (!file.seek(0))
                throw RuntimeError(RuntimeError::DeviceIo);
            data = file.readAll();
        }
    } else {
        data = file.readAll();
    }
    if (file.error() != QFileDevice::NoError)
        throw RuntimeError(RuntimeError::DeviceIo);
    return data;
}

inline bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// True when the bytes are a number written the invariant way: optional sign,
// digits, optionally '.' and digits, optional exponent with digits.
bool isInvariantNumber(const char* s, qsizetype n) {
    qsizetype i = 0;
    if (i < n && (s[i] == '+' || s[i] == '-'))
        ++i;
    const qsizetype intStart = i;
    while (i < n && isDigit(s[i]))
        ++i;
    if (i == intStart)
        return false;
    if (i < n && s[i] == '.') {
        const qsizetype fracStart = ++i;
        while (i < n && isDigit(s[i]))
            ++i;
        if (i == fracStart)
            return false;
    }
    if (i < n && (s[i] == 'E' || s[i] == 'e')) {
        ++i;
        if (i < n && (s[i] == '+' || s[i] == '-'))
            ++i;
        const qsizetype expStart = i;
        while (i < n && isDigit(s[i]))
            ++i;
        if (i == expStart)
            return false;
    }
    return i == n;
}

constexpr qsizetype kWriteBufferSize = 1 << 20;

} // namespace

QString DecodeCp1252(QByteArrayView bytes) {
    return decodeRange(bytes.data(), bytes.size());
}

void DecodeCp1252(QByteArrayView bytes, QChar* out) {
    decodeInto(bytes.data(), bytes.size(), out);
}

void AppendCp1252(QByteArray& out, QStringView text) {
    const qsizetype used = out.size();
    out.resize(used + text.size());
    out.resize(used + encodeInto(text, out.data() + used));
}

qsizetype EncodeCp1252(QStringView text, char* out) {
    return encodeInto(text, out);
}

QChar DecodeCp1252Byte(char byte) {
    return QChar(kDecode[static_cast<unsigned char>(byte)]);
}

QByteArray EncodeCp1252(QStringView text) {
    QByteArray bytes(text.size(), Qt::Uninitialized);
    bytes.truncate(encodeInto(text, bytes.data()));
    return bytes;
}

// ---------------------------------------------------------------------------

QByteArray ReadWholeFile(const QString& fileName) {
    return readWholeFile(fileName);
}

LineReader::LineReader(const QString& fileName) : data_(readWholeFile(fileName)) {}

QString LineReader::readLine() {
    const QByteArrayView line = readRawLine();
    return decodeRange(line.data(), line.size());
}

QByteArrayView LineReader::readRawLine() {
    if (atEnd())
        throw RuntimeError(RuntimeError::InputPastEnd);
    const char* begin = data_.constData() + pos_;
    const qsizetype left = data_.size() - pos_;
    const void* cr = std::memchr(begin, '\r', static_cast<size_t>(left));
    const qsizetype length = cr ? static_cast<const char*>(cr) - begin : left;
    pos_ += length;
    if (pos_ < data_.size()) {
        ++pos_; // the CR
        if (pos_ < data_.size() && data_.at(pos_) == '\n')
            ++pos_;
    }
    return QByteArrayView(begin, length);
}

// ---------------------------------------------------------------------------

struct BlockReader::Impl {
    QFile file;
    qint64 sizeHint = 0;
    qsizetype blockBytes = 0;
    qsizetype longestLine = -1;
    std::vector<char> buffers[2];
    int current = 1;         // the buffer of the last block given
    qsizetype tailBegin = 0; // what was read past that block
    qsizetype tailEnd = 0;
    bool atEnd = false;
    qint64 consumed = 0; // bytes read from the file so far

    // Appends up to count bytes to buffer; false at the end of the file.
    bool readMore(std::vector<char>& buffer, qsizetype& used, qsizetype count) {
        // Room for what the file held when it was opened, not for a whole
        // block: a small file costs no more than its size (a block is
        // megabytes, which every read would fill with zeros). The step past
        // it leaves room for the read that finds the end, or for what a
        // growing file added, without moving the buffer.
        constexpr qsizetype kStep = 4096;
        count = std::min(count, std::max<qsizetype>(qsizetype(sizeHint - consumed), 0) + kStep);
        if (qsizetype(buffer.size()) < used + count)
            buffer.resize(std::size_t(used + count));
        for (;;) {
            const ssize_t got = ::read(file.handle(), buffer.data() + used, std::size_t(count));
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                throw RuntimeError(RuntimeError::DeviceIo);
            used += got;
            consumed += got;
            return got > 0;
        }
    }
};

BlockReader::BlockReader(const QString& fileName, qsizetype blockBytes, qsizetype longestLine)
    : impl_(new Impl) {
    try {
        openFile(impl_->file, fileName, false);
    } catch (...) {
        delete impl_;
        throw;
    }
    impl_->sizeHint = impl_->file.size();
    impl_->blockBytes = std::max<qsizetype>(blockBytes, 1);
    impl_->longestLine = longestLine;
}

BlockReader::~BlockReader() {
    delete impl_;
}

qint64 BlockReader::sizeHint() const {
    return impl_->sizeHint;
}

QByteArrayView BlockReader::next() {
    Impl& d = *impl_;
    const int previous = d.current;
    d.current = 1 - d.current;
    std::vector<char>& buffer = d.buffers[d.current];
    // What the last block left over starts this one.
    qsizetype used = d.tailEnd - d.tailBegin;
    if (buffer.size() < std::size_t(used))
        buffer.resize(std::size_t(used));
    if (used > 0)
        std::memcpy(buffer.data(), d.buffers[previous].data() + d.tailBegin, std::size_t(used));
    d.tailBegin = d.tailEnd = 0;

    qsizetype wanted = d.blockBytes;
    qsizetype searched = 0; // no usable line end before this
    // Past the longest line wanted, what is read of the first line beyond
    // that is let go: its end follows its first longestLine + 1 bytes.
    const qsizetype keep = d.longestLine + 1;
    bool cut = false;
    const auto dropUpTo = [&](qsizetype from) {
        if (from > keep) {
            std::memmove(buffer.data() + keep, buffer.data() + from, std::size_t(used - from));
            used -= from - keep;
        }
    };
    for (;;) {
        while (!d.atEnd && used < wanted)
            d.atEnd = !d.readMore(buffer, used, wanted - used);
        if (d.atEnd) {
            if (cut) {
                const void* cr = std::memchr(buffer.data() + searched, '\r',
                                             std::size_t(std::max<qsizetype>(used - searched, 0)));
                dropUpTo(cr ? static_cast<const char*>(cr) - buffer.data() : used);
            }
            return QByteArrayView(buffer.data(), used);
        }
        // The block ends after the last CR whose next byte is known, so that
        // a CR LF is never cut in two.
        for (qsizetype i = used - 2; i >= searched; --i) {
            if (buffer[std::size_t(i)] == '\r') {
                if (cut) {
                    // The first CR after the cut ends the cut line; what
                    // follows it moves up with it.
                    const qsizetype first =
                        static_cast<const char*>(std::memchr(buffer.data() + searched, '\r',
                                                             std::size_t(i - searched + 1))) -
                        buffer.data();
                    dropUpTo(first);
                    i -= first - keep;
                }
                const qsizetype end = i + 1 + (buffer[std::size_t(i + 1)] == '\n' ? 1 : 0);
                d.tailBegin = end;
                d.tailEnd = used;
                return QByteArrayView(buffer.data(), end);
            }
        }
        // One line longer than what was read: read on until it ends.
        if (d.longestLine >= 0 && used - 1 > keep) {
            dropUpTo(used - 1); // the last byte stays: it may be a CR before its LF
            cut = true;
        }
        searched = std::max<qsizetype>(used - 1, 0);
        wanted = used + d.blockBytes;
    }
}

struct LineWriter::Impl {
    QFile file;
    QByteArray buffer;
    bool closed = false;
};

LineWriter::LineWriter(const QString& fileName) : impl_(new Impl) {
    try {
        openFile(impl_->file, fileName, true);
    } catch (...) {
        delete impl_;
        throw;
    }
    impl_->buffer.reserve(kWriteBufferSize + 4096);
}

LineWriter::~LineWriter() {
    try {
        if (!impl_->closed)
            close();
    } catch (...) {
        // Nowhere to report it from a destructor; close() is the checked way.
    }
    delete impl_;
}

void LineWriter::writeLine(QStringView text) {
    if (impl_->closed)
        throw RuntimeError(RuntimeError::BadFileName);
    QByteArray& buffer = impl_->buffer;
    const qsizetype used = buffer.size();
    buffer.resize(used + text.size() + 2);
    char* out = buffer.data() + used;
    const qsizetype written = encodeInto(text, out);
    out[written] = '\r';
    out[written + 1] = '\n';
    buffer.resize(used + written + 2);
    if (buffer.size() >= kWriteBufferSize)
        flush();
}

void LineWriter::writeBytes(QByteArrayView bytes) {
    if (impl_->closed)
        throw RuntimeError(RuntimeError::BadFileName);
    QByteArray& buffer = impl_->buffer;
    // Block by block, so a failing disk stops the file where whole lines
    // would have stopped it.
    while (!bytes.isEmpty()) {
        const qsizetype used = buffer.size();
        const qsizetype taken =
            std::min(std::max<qsizetype>(kWriteBufferSize - used, 0), bytes.size());
        buffer.resize(used + taken);
        std::memcpy(buffer.data() + used, bytes.data(), std::size_t(taken));
        bytes = bytes.sliced(taken);
        if (buffer.size() >= kWriteBufferSize)
            flush();
    }
}

void LineWriter::close() {
    if (impl_->closed)
        return;
    // Closed even when the last block fails, so the destructor does not retry.
    impl_->closed = true;
    try {
        flush();
    } catch (...) {
        impl_->file.close();
        throw;
    }
    impl_->file.close();
}

void LineWriter::flush() {
    QByteArray& buffer = impl_->buffer;
    if (buffer.isEmpty())
        return;
    errno = 0;
    const qint64 written = impl_->file.write(buffer);
    const int error = errno;
    if (written != buffer.size()) {
        buffer.clear();
        const bool full = impl_->file.error() == QFileDevice::ResourceError || error == ENOSPC;
        throw RuntimeError(full ? RuntimeError::DiskFull : RuntimeError::DeviceIo);
    }
    buffer.resize(0); // keeps the capacity for the next block
}

// ---------------------------------------------------------------------------

QString Field::text() const {
    if (const double* number = std::get_if<double>(&value_))
        return DefaultText(*number);
    return std::get<QString>(value_);
}

struct FieldReader::Impl {
    ~Impl() { std::free(buffer); }
    QFile file;
    // malloc'd, so that growing it for a long field can move its pages
    // (realloc) instead of copying them beside the old ones.
    char* buffer = nullptr;
    std::size_t capacity = 0;

    void resize(std::size_t size) {
        char* moved = static_cast<char*>(std::realloc(buffer, size));
        if (moved == nullptr)
            throw std::bad_alloc();
        buffer = moved;
        capacity = size;
    }
};

FieldReader::FieldReader(const QString& fileName, qsizetype chunkBytes) : impl_(new Impl) {
    try {
        openFile(impl_->file, fileName, false);
    } catch (...) {
        delete impl_;
        throw;
    }
    size_ = impl_->file.size();
    // A small file is read in one go, into a buffer of its own size; a pipe
    // (no size) through the usual buffer.
    const qint64 room = size_ > 0 ? std::min<qint64>(chunkBytes, size_ + 1) : chunkBytes;
    impl_->resize(std::size_t(std::max<qint64>(room, 1)));
    data_ = impl_->buffer;
}

FieldReader::~FieldReader() {
    delete impl_;
}

bool FieldReader::available(qsizetype ahead) {
    while (pos_ + ahead >= end_) {
        if (eof_)
            return false;
        refill();
    }
    return true;
}

void FieldReader::refill() {
    // What is not done with yet moves to the front; a field longer than half
    // the buffer makes it grow, though never much past what the file still
    // holds: a field running to the end of the file is held once.
    const qsizetype kept = end_ - pos_;
    if (kept > 0 && pos_ > 0)
        std::memmove(data_, data_ + pos_, std::size_t(kept));
    consumed_ += pos_;
    pos_ = 0;
    end_ = kept;
    const std::size_t capacity = impl_->capacity;
    if (std::size_t(kept) > capacity / 2) {
        std::size_t grown = capacity * 2;
        if (size_ > 0) {
            const qint64 rest = std::max<qint64>(size_ - (consumed_ + end_), 0);
            grown = std::min(grown, std::size_t(kept + rest) + 65536);
        }
        grown = std::max(grown, std::size_t(kept) + std::min<std::size_t>(capacity, 65536));
        if (grown > capacity)
            impl_->resize(grown);
    }
    data_ = impl_->buffer;
    const std::size_t room = impl_->capacity - std::size_t(end_);
    for (;;) {
        const ssize_t got = ::read(impl_->file.handle(), data_ + end_, room);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw RuntimeError(RuntimeError::DeviceIo);
        end_ += got;
        eof_ = got == 0;
        return;
    }
}

RawField FieldReader::readFieldSlowly() {
    // Offsets from pos_, which a refill moves to the front together with the
    // bytes after it: they stay right across refills.
    const auto at = [this](qsizetype k) { return data_[pos_ + k]; };
    qsizetype k = 0;
    while (available(k) && (at(k) == ' ' || at(k) == '\t'))
        ++k;
    qsizetype start = k, end = k;
    const bool quoted = available(k) && at(k) == '"';
    if (quoted) {
        start = ++k;
        // Up to the closing quote, or the end of the file when there is none.
        for (;;) {
            if (!available(k)) {
                end = k;
                break;
            }
            const qsizetype left = end_ - pos_ - k;
            const void* quote = std::memchr(data_ + pos_ + k, '"', std::size_t(left));
            if (quote) {
                end = static_cast<const char*>(quote) - (data_ + pos_);
                k = end + 1;
                break;
            }
            k += left;
        }
        // Whatever follows the closing quote up to the delimiter is dropped.
        while (available(k) && !isFieldDelimiter(at(k)))
            ++k;
    } else {
        while (available(k) && !isFieldDelimiter(at(k)))
            ++k;
        end = k;
        while (end > start && at(end - 1) == ' ')
            --end;
    }
    // Past the delimiter: a comma, or one line end (CR LF counts as one). A
    // comma leaves the line end after it for the next (empty) field.
    if (available(k)) {
        const char c = at(k++);
        if (c == '\r' && available(k) && at(k) == '\n')
            ++k;
    }
    const RawField field{data_ + pos_ + start, end - start, quoted};
    pos_ += k;
    return field;
}

bool FieldReader::numberOf(const RawField& raw, double& number) {
    if (raw.quoted || !isInvariantNumber(raw.text, raw.length))
        return false;
    try {
        number = Val(QLatin1StringView(raw.text, raw.length));
        return true;
    } catch (const RuntimeError&) {
        return false; // beyond the double range: stays a text
    }
}

Field FieldReader::fieldOf(const RawField& raw) {
    if (double number = 0; numberOf(raw, number))
        return Field(number);
    return Field(decodeRange(raw.text, raw.length));
}

} // namespace platform
