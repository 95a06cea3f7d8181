#pragma once

#include <QString>
#include <QStringView>

namespace platform {

// Short texts made one after another that mostly live as long as each other,
// such as the identifiers of the points of a file. Each is an ordinary QString
// (shared, copied on write, null-terminated), but they are carved out of
// common blocks: a million of them cost a few hundred allocations instead of
// a million, and none carries a header of its own. A block is freed when the
// last text in it goes.
class TextArena {
public:
    TextArena() = default;
    TextArena(const TextArena&) = delete;
    TextArena& operator=(const TextArena&) = delete;

    // A text of length units written by fill(QChar* where).
    template <typename Fill> QString make(qsizetype length, Fill&& fill) {
        if (length == 0)
            return QString(reinterpret_cast<const QChar*>(u""), 0); // empty, not null
        fill(room(length));
        return take(length);
    }
    QString copy(QStringView text);

private:
    QChar* room(qsizetype length);
    QString take(qsizetype length);

    QString::DataPointer block_;
    qsizetype used_ = 0;
};

} // namespace platform
