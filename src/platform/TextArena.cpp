#include "platform/TextArena.h"

#include <algorithm>
#include <cstring>

namespace platform {

namespace {
// In UTF-16 units: some thousands of identifiers to a block.
constexpr qsizetype kBlockUnits = 16 * 1024;
} // namespace

QChar* TextArena::room(qsizetype length) {
    // One unit more for the terminating null that QString::utf16() promises.
    if (!block_.d_ptr() || used_ + length + 1 > block_.constAllocatedCapacity()) {
        // The texts already made keep the old block alive as long as they need it.
        block_ = QString::DataPointer(
            QTypedArrayData<char16_t>::allocate(std::max(kBlockUnits, length + 1)));
        used_ = 0;
    }
    return reinterpret_cast<QChar*>(block_.data() + used_);
}

QString TextArena::take(qsizetype length) {
    char16_t* start = block_.data() + used_;
    start[length] = u'\0';
    used_ += length + 1;
    // One more owner of the block: the new text, which sees only its part.
    block_.ref();
    return QString(QString::DataPointer(block_.d_ptr(), start, length));
}

QString TextArena::copy(QStringView text) {
    return make(text.size(), [&](QChar* where) {
        std::memcpy(static_cast<void*>(where), text.utf16(),
                    std::size_t(text.size()) * sizeof(char16_t));
    });
}

} // namespace platform
