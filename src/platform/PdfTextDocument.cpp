#include "platform/PdfTextDocument.h"

#include "platform/NumberText.h"
#include "platform/TextFile.h"

#include <cmath>

namespace platform {

namespace {

// Object numbers fixed before the pages: the catalog, the page tree (written
// last, when its pages are known) and the font.
constexpr int kCatalog = 1;
constexpr int kPageTree = 2;
constexpr int kFont = 3;

void appendWhole(QByteArray& out, std::uint64_t value) {
    char digits[20];
    out.append(digits, WriteWholeNumber(value, digits));
}

// One line's characters as the content's string operand: Windows-1252 bytes,
// the three characters that mean something in a string escaped, control
// characters written in octal.
void appendTextString(QByteArray& out, QStringView text) {
    out.append('(');
    for (QChar c : text) {
        const char16_t u = c.unicode();
        char byte;
        if (u < 0x80) {
            byte = static_cast<char>(u);
        } else if (u == 0x202F) {
            // The French grouping character: a no-break space on paper.
            byte = static_cast<char>(0xA0);
        } else {
            EncodeCp1252(QStringView(&c, 1), &byte);
        }
        const auto b = static_cast<unsigned char>(byte);
        if (b == '(' || b == ')' || b == '\\') {
            out.append('\\');
            out.append(byte);
        } else if (b < 0x20 || b == 0x7F) {
            const char octal[] = {'\\', char('0' + (b >> 6)), char('0' + ((b >> 3) & 7)),
                                  char('0' + (b & 7))};
            out.append(octal, 4);
        } else {
            out.append(byte);
        }
    }
    // "'" moves to the next line and shows the string there.
    out.append(")'\n");
}

} // namespace

PdfTextDocument::PdfTextDocument(const TextPageGeometry& geometry) : geometry_(geometry) {
    linesPerPage_ =
        std::max(1, static_cast<int>(
                        std::floor((geometry_.height - 2 * geometry_.margin) / geometry_.leading)));
    out_.append("%PDF-1.4\n%\xE2\xE3\xCF\xD3\n");
    offsets_.assign(3, 0);
    beginObject(kCatalog);
    out_.append("<< /Type /Catalog /Pages 2 0 R >>\nendobj\n");
    beginObject(kFont);
    out_.append("<< /Type /Font /Subtype /Type1 /BaseFont /Courier "
                "/Encoding /WinAnsiEncoding >>\nendobj\n");

    // Every page starts at the top margin; each line's "'" first moves down
    // one leading, so the first baseline lies one leading below the margin.
    pageStart_.append("BT\n/F1 ");
    appendNumber(pageStart_, geometry_.fontSize);
    pageStart_.append(" Tf\n");
    appendNumber(pageStart_, geometry_.leading);
    pageStart_.append(" TL\n");
    appendNumber(pageStart_, geometry_.margin);
    pageStart_.append(' ');
    appendNumber(pageStart_, geometry_.height - geometry_.margin);
    pageStart_.append(" Td\n");
    page_.reserve(linesPerPage_ * 96 + pageStart_.size() + 8);
}

void PdfTextDocument::appendNumber(QByteArray& out, double value) const {
    // Two decimals are finer than any printer's dot.
    const auto hundredths = static_cast<std::uint64_t>(std::llround(std::fabs(value) * 100));
    if (value < 0 && hundredths != 0)
        out.append('-');
    appendWhole(out, hundredths / 100);
    if (hundredths % 100 != 0) {
        out.append('.');
        out.append(char('0' + (hundredths / 10) % 10));
        out.append(char('0' + hundredths % 10));
    }
}

void PdfTextDocument::beginObject(int number) {
    if (static_cast<std::size_t>(number) > offsets_.size())
        offsets_.resize(number, 0);
    offsets_[number - 1] = out_.size();
    appendWhole(out_, number);
    out_.append(" 0 obj\n");
}

void PdfTextDocument::addLine(QStringView text) {
    if (linesOnPage_ == linesPerPage_)
        closePage();
    if (linesOnPage_ == 0)
        page_.append(pageStart_);
    appendTextString(page_, text);
    ++linesOnPage_;
    ++lines_;
}

void PdfTextDocument::closePage() {
    page_.append("ET\n");
    const int contents = static_cast<int>(offsets_.size()) + 1;
    beginObject(contents);
    out_.append("<< /Length ");
    appendWhole(out_, page_.size());
    out_.append(" >>\nstream\n");
    out_.append(page_);
    out_.append("\nendstream\nendobj\n");
    beginObject(contents + 1);
    out_.append("<< /Type /Page /Parent 2 0 R /Contents ");
    appendWhole(out_, contents);
    out_.append(" 0 R >>\nendobj\n");
    pages_.push_back(contents + 1);
    page_.clear();
    linesOnPage_ = 0;
}

int PdfTextDocument::pageCount() const {
    return static_cast<int>(pages_.size()) + (linesOnPage_ > 0 ? 1 : 0);
}

QByteArray PdfTextDocument::finish() {
    if (linesOnPage_ > 0 || pages_.empty()) {
        if (linesOnPage_ == 0)
            page_.append(pageStart_); // a blank page: the document has one at least
        linesOnPage_ = std::max(linesOnPage_, 1);
        closePage();
    }
    // The page tree carries what every page shares: the paper and the font.
    beginObject(kPageTree);
    out_.append("<< /Type /Pages /MediaBox [0 0 ");
    appendNumber(out_, geometry_.width);
    out_.append(' ');
    appendNumber(out_, geometry_.height);
    out_.append("] /Resources << /Font << /F1 3 0 R >> >> /Count ");
    appendWhole(out_, pages_.size());
    out_.append(" /Kids [");
    for (int page : pages_) {
        appendWhole(out_, page);
        out_.append(" 0 R ");
    }
    out_.append("] >>\nendobj\n");

    const qint64 xref = out_.size();
    out_.append("xref\n0 ");
    appendWhole(out_, offsets_.size() + 1);
    out_.append("\n0000000000 65535 f \n");
    for (qint64 offset : offsets_) {
        char digits[20];
        const int length = WriteWholeNumber(static_cast<std::uint64_t>(offset), digits);
        out_.append(10 - length, '0');
        out_.append(digits, length);
        out_.append(" 00000 n \n");
    }
    out_.append("trailer\n<< /Size ");
    appendWhole(out_, offsets_.size() + 1);
    out_.append(" /Root 1 0 R >>\nstartxref\n");
    appendWhole(out_, xref);
    out_.append("\n%%EOF\n");
    return std::move(out_);
}

} // namespace platform
