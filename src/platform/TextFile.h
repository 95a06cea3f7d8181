#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>
#include <variant>

// Single-byte Windows-1252 text files, as the program's files are written.
namespace platform {

// Every byte to its character (the five undefined bytes to U+0081 etc.).
QString DecodeCp1252(QByteArrayView bytes);
// Every character to its byte; characters Windows-1252 lacks become '?'.
QByteArray EncodeCp1252(QStringView text);

// Reads the whole file up front; errors while opening are run-time errors
// (53 not found, 76 folder missing, 70 permission, 75 other access failures).
// Lines end at CR LF or at a lone CR; a lone LF stays inside the line.
class LineReader {
public:
    explicit LineReader(const QString& fileName);

    bool atEnd() const { return pos_ >= data_.size(); }
    // The next line without its line break; error 62 when at the end.
    QString readLine();

    qsizetype size() const { return data_.size(); }
    qsizetype position() const { return pos_; }

private:
    QByteArray data_;
    qsizetype pos_ = 0;
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

// Comma-delimited fields; here a line also ends at a lone LF. Error 62 when a
// field is read at the end of the file.
class FieldReader {
public:
    explicit FieldReader(const QString& fileName);

    bool atEnd() const { return pos_ >= data_.size(); }
    Field readField();

private:
    QByteArray data_;
    qsizetype pos_ = 0;
};

} // namespace platform
