#pragma once

#include <QByteArray>
#include <QStringView>
#include <vector>

namespace platform {

// The page a text document is laid out on, in points (1/72 inch).
struct TextPageGeometry {
    double width = 595.28; // A4
    double height = 841.89;
    double margin = 36;
    double fontSize = 10;
    double leading = 12; // from one line's baseline to the next
};

// A PDF of plain text lines in one standard font (Courier, Windows-1252), built
// without a layout per line: each line is a string operator in its page's
// content, so a long listing costs little more than its text. A line that
// would pass the bottom margin starts a new page first. Characters
// Windows-1252 lacks print as '?'; a line wider than the page is cut at the
// paper's edge, as a printer cuts it.
class PdfTextDocument {
public:
    explicit PdfTextDocument(const TextPageGeometry& geometry = TextPageGeometry());

    void addLine(QStringView text);
    // The whole document (at least one page, blank when no line was added).
    // The document is done; it takes no more lines.
    QByteArray finish();

    int linesPerPage() const { return linesPerPage_; }
    int pageCount() const;
    qsizetype lineCount() const { return lines_; }

private:
    void beginObject(int number);
    void closePage();
    void appendNumber(QByteArray& out, double value) const;

    TextPageGeometry geometry_;
    QByteArray out_;              // the file as far as written: header, fonts, closed pages
    QByteArray page_;             // content of the page being filled
    QByteArray pageStart_;        // what opens every page's content
    std::vector<qint64> offsets_; // byte offset of each object, from object 1
    std::vector<int> pages_;      // object numbers of the page objects
    int linesPerPage_ = 1;
    int linesOnPage_ = 0;
    qsizetype lines_ = 0;
};

} // namespace platform
