#pragma once

#include "platform/RuntimeError.h"

#include <QByteArray>
#include <QString>
#include <QStringView>
#include <variant>

// Single-byte Windows-1252 text files, as the program's files are written.
namespace platform {

// Every byte to its character (the five undefined bytes to U+0081 etc.).
QString DecodeCp1252(QByteArrayView bytes);
// The same into out, which has room for bytes.size() characters.
void DecodeCp1252(QByteArrayView bytes, QChar* out);
// Every character to its byte; characters Windows-1252 lacks become '?'.
QByteArray EncodeCp1252(QStringView text);
// The same, appended to out: the writers build their blocks with it.
void AppendCp1252(QByteArray& out, QStringView text);
// The same into out, which has room for text.size() bytes; returns the count
// written (fewer when surrogate pairs were met).
qsizetype EncodeCp1252(QStringView text, char* out);
// The character of one byte.
QChar DecodeCp1252Byte(char byte);

// The whole file's bytes at once; errors as LineReader's.
QByteArray ReadWholeFile(const QString& fileName);

// Reads the whole file up front; errors while opening are run-time errors
// (53 not found, 76 folder missing, 70 permission, 75 other access failures).
// Lines end at CR LF or at a lone CR; a lone LF stays inside the line.
class LineReader {
public:
    explicit LineReader(const QString& fileName);

    bool atEnd() const { return pos_ >= data_.size(); }
    // The next line without its line break; error 62 when at the end.
    QString readLine();
    // The same line as the file's bytes, valid as long as the reader: for
    // readers that decode only the parts they keep.
    QByteArrayView readRawLine();

    qsizetype size() const { return data_.size(); }
    qsizetype position() const { return pos_; }

private:
    QByteArray data_;
    qsizetype pos_ = 0;
};

// Reads a file a block of whole lines at a time, for readers that work
// through large files: two buffers are used in turn, so a block stays valid
// while the next one is read and the two can go side by side. Lines end as
// for LineReader. Errors while opening as LineReader; a read error is 57.
class BlockReader {
public:
    // Blocks of about blockBytes; a longer line makes a block of its own.
    // With longestLine set, a line longer than that comes cut to its first
    // longestLine + 1 bytes (its line break kept): for readers that reject
    // such a line whatever it holds, so that it is never held whole.
    BlockReader(const QString& fileName, qsizetype blockBytes, qsizetype longestLine = -1);
    ~BlockReader();
    BlockReader(const BlockReader&) = delete;
    BlockReader& operator=(const BlockReader&) = delete;

    // The file's size when it was opened: a guide to the room needed.
    qint64 sizeHint() const;
    // The next block: one or more whole lines, breaks included (the last
    // line of the file may have none); empty at the end of the file. Valid
    // until the second call after this one.
    QByteArrayView next();

private:
    struct Impl;
    Impl* impl_;
};

// Creates (or truncates) the file; every line written ends with CR LF.
// Output is buffered and flushed in large blocks; write failures are run-time
// errors (61 disk full, 57 other). The destructor flushes what is left.
class LineWriter {
public:
    explicit LineWriter(const QString& fileName);
    ~LineWriter();
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    void writeLine(QStringView text);
    // Bytes already encoded, line breaks included: the blocks the writers
    // build themselves.
    void writeBytes(QByteArrayView bytes);
    // Flushes and closes; further writes are an error.
    void close();

private:
    void flush();
    struct Impl;
    Impl* impl_;
};

// One field of a delimited-field read: a number when the field's text is a
// number written the invariant way (unquoted, in range), a text otherwise.
class Field {
public:
    Field() = default;
    explicit Field(QString text) : value_(std::move(text)) {}
    explicit Field(double number) : value_(number) {}

    bool isNumber() const { return std::holds_alternative<double>(value_); }
    double number() const { return std::get<double>(value_); }
    // The text; a number gives its default text.
    QString text() const;
    // Comparison with a text uses the text of the field.
    bool operator==(QStringView other) const { return text() == other; }

private:
    std::variant<QString, double> value_;
};

// Where one field stands in the file, before it is made a Field: readers
// that look at most fields only once can decide on the bytes.
struct RawField {
    const char* text = nullptr; // the field's bytes: between the quotes, or trimmed
    qsizetype length = 0;
    bool quoted = false;

    QByteArrayView bytes() const { return QByteArrayView(text, length); }
};

// Comma-delimited fields; here a line also ends at a lone LF. Error 62 when a
// field is read at the end of the file. The file is read as a stream through
// a buffer of about chunkBytes, which grows only for a field longer than that
// (a quote left open takes the rest of the file).
class FieldReader {
public:
    static constexpr qsizetype kChunkBytes = qsizetype(4) << 20;

    explicit FieldReader(const QString& fileName, qsizetype chunkBytes = kChunkBytes);
    ~FieldReader();
    FieldReader(const FieldReader&) = delete;
    FieldReader& operator=(const FieldReader&) = delete;

    bool atEnd() { return pos_ >= end_ && !available(0); }
    Field readField() { return fieldOf(readRawField()); }
    // The next field where it stands in the buffer: valid until the next
    // read. Error 62 at the end, as readField. The usual field, whole in the
    // buffer, is read inline: large files have tens of millions.
    RawField readRawField() {
        if (atEnd())
            throw RuntimeError(RuntimeError::InputPastEnd);
        const char* d = data_;
        const qsizetype n = end_;
        qsizetype i = pos_;
        while (i < n && (d[i] == ' ' || d[i] == '\t'))
            ++i;
        if (i < n && d[i] == '"')
            return readFieldSlowly();
        const qsizetype start = i;
        while (i < n && !isFieldDelimiter(d[i]))
            ++i;
        // The delimiter and the byte after a CR must be at hand.
        if (!eof_ && i + 1 >= n)
            return readFieldSlowly();
        qsizetype end = i;
        while (end > start && d[end - 1] == ' ')
            --end;
        if (i < n) {
            if (d[i] == ',' || d[i] == '\n') {
                ++i;
            } else {
                ++i;
                if (i < n && d[i] == '\n')
                    ++i;
            }
        }
        pos_ = i;
        return RawField{d + start, end - start, false};
    }
    static Field fieldOf(const RawField& raw);
    // True, with the number, when fieldOf would give a number.
    static bool numberOf(const RawField& raw, double& number);

    // The file's size when it was opened, and how far it has been read.
    qint64 size() const { return size_; }
    qint64 position() const { return consumed_ + pos_; }

private:
    static bool isFieldDelimiter(char c) { return (c == ',') | (c == '\r') | (c == '\n'); }
    // True when the byte at pos_ + ahead is in the buffer, reading on as
    // needed; false at the end of the file.
    bool available(qsizetype ahead);
    void refill();
    // Any field, with the buffer refilled as often as it takes.
    RawField readFieldSlowly();

    struct Impl;
    Impl* impl_;
    char* data_ = nullptr; // the buffer; the bytes before pos_ are done with
    qsizetype pos_ = 0;
    qsizetype end_ = 0;
    qint64 consumed_ = 0; // bytes of the file before the buffer
    qint64 size_ = 0;
    bool eof_ = false;
};

} // namespace platform
