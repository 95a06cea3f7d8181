#pragma once

#include "import/ImportText.h"

#include <QChar>
#include <QString>
#include <QStringList>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

class GestionDonnee;
struct PointRecord;
namespace platform {
class Progress;
}

// Other programs' point files: delimited or aligned text whose layout is
// found from the file (or fixed by the user), and the POINT entities of any
// DXF drawing. Points are appended to the store as the readers append them;
// the program's own XYZ and DXF readers are left as they are.
namespace importing {

// The role of a column: "-" (left aside), "id", "x", "y", "z".
enum class ColumnRole { Skip, Id, X, Y, Z };

// What the user fixes; what is left unset is found from the file.
struct ImportOptions {
    std::optional<std::vector<ColumnRole>> columns;
    std::optional<int> skipLines;
    std::optional<QChar> separator; // ',', ';', '\t', '|', or ' ' = runs of blanks
    std::optional<QChar> decimal;   // ',' or '.'
};

// What is used to read the file.
struct TextLayout {
    QString encoding; // ImportText::encoding()
    QChar separator = u',';
    QChar decimal = u'.';
    int skipLines = 0;   // lines skipped before the data (header lines included)
    int headerLines = 0; // of those, lines recognised as a header
    // One per column; without an Id column the points are numbered from 1.
    // Columns past the end of this list are left aside.
    std::vector<ColumnRole> roles;
};

// A data row that gave no point.
struct RejectedRow {
    qint64 line = 0; // numbered from 1 in the file
    QString reason;  // in French
};

struct ImportReport {
    TextLayout layout;
    qint64 points = 0;
    qint64 rejectedCount = 0;
    std::vector<RejectedRow> rejected; // the first ones, in file order
    QString note;                      // e.g. a drawing without POINT: "aucune entité POINT"
};

// The layout of the text: the options where given, the rest found from the
// lines (separator, decimal mark, header lines and the roles they name, or
// the usual layouts by their content).
TextLayout DetectLayout(const ImportText& text, const ImportOptions& options);

// The cells of count lines from firstLine (0-based, counted in the whole
// text, skipped lines included), split as the layout says: for a preview.
// Quotes are removed; lines past the end give nothing.
std::vector<QStringList> SplitRows(const ImportText& text, const TextLayout& layout, int firstLine,
                                   int count);

// Reads every data row (the lines after skipLines; blank lines are passed
// over): each good row goes to add, in file order; bad rows are counted and
// the first keepRejected of them kept with their line and reason.
ImportReport ReadRows(const ImportText& text, const TextLayout& layout,
                      const std::function<void(PointRecord&&)>& add, std::size_t keepRejected);

// Reads a whole file into the store (GestionDonnee::AddPoint, as the readers
// do); the caller refreshes the list. Unreadable file: a run-time error.
ImportReport ImportDelimitedFile(GestionDonnee& state, const QString& fileName,
                                 const ImportOptions& options, platform::Progress& progress,
                                 std::size_t keepRejected = 10);

// Appends the POINT entities of the ENTITIES section of a DXF drawing (any
// version, CR LF or LF), X, Y and Z as written, named from Num_Pt_Dxf as the
// DXF reader names them. No POINT: no point, and the report's note says so.
ImportReport ImportDxfPoints(GestionDonnee& state, const QString& fileName,
                             platform::Progress& progress);

// One French line: separator, decimal mark, header lines, role of each column.
QString DescribeLayout(const TextLayout& layout);

// The names of the roles as --columns writes them: "-", "id", "x", "y", "z".
QString RoleName(ColumnRole role);
// "id,y,x,z,-" to its roles; nullopt for an unknown name or an empty list.
std::optional<std::vector<ColumnRole>> ParseColumns(const QString& text);

// A French sentence saying why a file that the program's own XYZ reader
// read badly looks like one the importer reads (lines ending in LF alone, a
// header line, more than the usual columns), naming "--from csv"; empty when
// nothing points that way.
QString ImportHint(const ImportText& text);

} // namespace importing
