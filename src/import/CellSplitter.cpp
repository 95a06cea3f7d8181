#include "import/CellSplitter.h"

#include <cstring>

namespace importing {

namespace {

inline bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

} // namespace

void CellSplitter::split(QByteArrayView line, char separator) {
    cells_.clear();
    unquoted_.clear();
    const char* const text = line.data();
    const qsizetype n = line.size();
    const bool blanks = separator == ' ';
    // Blanks around a cell; a tab is a separator, never a blank, when it separates.
    const auto skippable = [separator](char c) {
        return c == ' ' || (c == '\t' && separator != '\t');
    };
    qsizetype i = 0;
    // Past the most columns a file holds, the rest of the line is not looked
    // at: a line of millions of cells costs no more than its first ones.
    while (cells_.size() < std::size_t(kMostCells)) {
        while (i < n && skippable(text[i]))
            ++i;
        if (blanks && i >= n)
            return;
        qsizetype next; // where the cell's separator is (n: none)
        if (i < n && text[i] == '"') {
            // Most quoted cells hold no doubled quote: they are looked at
            // where they stand, and a long one is never copied.
            const qsizetype rest = n - (i + 1);
            const void* close =
                rest > 0 ? std::memchr(text + i + 1, '"', std::size_t(rest)) : nullptr;
            qsizetype k = close ? static_cast<const char*>(close) - text : n;
            if (k + 1 >= n || text[k + 1] != '"') {
                cells_.emplace_back(text + i + 1, k - i - 1);
                k = k < n ? k + 1 : n;
            } else {
                // Room for every quoted cell of the line at once: the views
                // into it must not move.
                if (unquoted_.capacity() < std::size_t(n))
                    unquoted_.reserve(std::size_t(n));
                const std::size_t from = unquoted_.size();
                k = i + 1;
                while (k < n) {
                    if (text[k] == '"') {
                        if (k + 1 < n && text[k + 1] == '"') {
                            unquoted_.push_back('"');
                            k += 2;
                            continue;
                        }
                        ++k;
                        break;
                    }
                    unquoted_.push_back(text[k++]);
                }
                cells_.emplace_back(unquoted_.data() + from, qsizetype(unquoted_.size() - from));
            }
            next = k;
            while (next < n && !(blanks ? isBlank(text[next]) : text[next] == separator))
                ++next;
        } else {
            if (blanks) {
                next = i;
                while (next < n && !isBlank(text[next]))
                    ++next;
            } else {
                const void* found =
                    i < n ? std::memchr(text + i, separator, std::size_t(n - i)) : nullptr;
                next = found ? static_cast<const char*>(found) - text : n;
            }
            qsizetype end = next;
            while (end > i && skippable(text[end - 1]))
                --end;
            cells_.emplace_back(text + i, end - i);
        }
        if (next >= n)
            return;
        i = next + 1;
    }
}

} // namespace importing
