#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <cstdint>
#include <vector>

namespace importing {

// The text of another program's file, decoded once: the encoding from the
// byte-order mark (UTF-8, UTF-16LE, UTF-16BE), else UTF-8 when the bytes are
// valid UTF-8, else Windows-1252. It is kept as UTF-8 (the bytes themselves
// for a UTF-8 file, so a large file is not copied) and cut into lines at
// CR LF, LF or a lone CR, in any mix.
class ImportText {
public:
    ImportText() = default;
    static ImportText fromBytes(QByteArray bytes);
    // The whole file; a file that cannot be read, or of 2^31 bytes or more,
    // is a run-time error (as the readers raise them).
    static ImportText fromFile(const QString& fileName);

    // "UTF-8", "UTF-8 avec BOM", "UTF-16LE", "UTF-16BE" or "Windows-1252".
    const QString& encoding() const { return encoding_; }
    qsizetype lineCount() const { return qsizetype(starts_.size()); }
    // One line as UTF-8, without its line end.
    QByteArrayView line(qsizetype index) const {
        return QByteArrayView(utf8_.constData() + starts_[std::size_t(index)],
                              ends_[std::size_t(index)] - starts_[std::size_t(index)]);
    }
    QString lineText(qsizetype index) const { return QString::fromUtf8(line(index)); }

    // How the lines end: counts of each kind (the last line may have none).
    qsizetype crlfCount() const { return crlf_; }
    qsizetype lfCount() const { return lf_; }
    qsizetype crCount() const { return cr_; }

private:
    QByteArray utf8_;
    std::vector<std::uint32_t> starts_, ends_;
    QString encoding_;
    qsizetype crlf_ = 0, lf_ = 0, cr_ = 0;
};

} // namespace importing
