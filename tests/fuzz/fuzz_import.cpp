// The importer over any bytes: the layout it finds, the rows it reads and
// the POINTs of a drawing, with or without the user's options. It never
// crashes, and every non-blank data row is either a point or a row left
// aside.
#include "FuzzSupport.h"

#include "import/Importer.h"
#include "platform/RuntimeError.h"

using namespace fuzz;
using namespace importing;

namespace {

// The options of the first byte: separator, decimal mark, skipped lines and
// columns, each given or left to be found.
ImportOptions optionsOf(std::uint8_t byte) {
    ImportOptions options;
    static const char separators[] = {',', ';', '\t', '|', ' '};
    if (byte & 1)
        options.separator = QChar::fromLatin1(separators[(byte >> 1) % 5]);
    if (byte & 8)
        options.decimal = (byte & 16) ? u',' : u'.';
    if (byte & 32)
        options.skipLines = (byte >> 6);
    if ((byte & 0xC0) == 0xC0)
        options.columns = std::vector<ColumnRole>{ColumnRole::Skip, ColumnRole::Y, ColumnRole::X,
                                                  ColumnRole::Id, ColumnRole::Z};
    return options;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    static ScratchFile file(".csv");
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
    const ImportOptions options = optionsOf(data[0]);

    const ImportText text = ImportText::fromBytes(bytes);
    const TextLayout layout = DetectLayout(text, options);
    FUZZ_CHECK(layout.skipLines >= 0 && layout.headerLines >= 0 &&
                   layout.headerLines <= layout.skipLines && !layout.roles.empty(),
               DescribeLayout(layout));
    SplitRows(text, layout, 0, 20);
    ImportHint(text);

    qint64 names = 0;
    const ImportReport report = ReadRows(
        text, layout, [&](PointRecord&&) { ++names; }, 3);
    qint64 dataRows = 0;
    for (qsizetype i = layout.skipLines; i < text.lineCount(); ++i) {
        const QByteArrayView line = text.line(i);
        dataRows +=
            !std::all_of(line.begin(), line.end(), [](char c) { return c == ' ' || c == '\t'; });
    }
    const QString counts = QStringLiteral("%1 points + %2 left aside, %3 data rows")
                               .arg(report.points)
                               .arg(report.rejectedCount)
                               .arg(dataRows);
    FUZZ_CHECK(names == report.points && report.points + report.rejectedCount == dataRows, counts);

    // Through a file into the store, as the open command reads it: the same
    // rows as from the bytes; and the same file as a drawing.
    const QString& path = file.write(data + 1, size - 1);
    Session session;
    const ImportReport imported =
        ImportDelimitedFile(session.state, path, options, session.progress, 3);
    FUZZ_CHECK(imported.points == report.points && imported.rejectedCount == report.rejectedCount &&
                   qint64(session.state.PointCount) == report.points,
               counts);
    Session drawing;
    try {
        const ImportReport points = ImportDxfPoints(drawing.state, path, drawing.progress);
        FUZZ_CHECK(qint64(drawing.state.PointCount) == points.points &&
                       (points.points > 0 || points.rejectedCount > 0 || !points.note.isEmpty()),
                   points.note);
    } catch (const platform::RuntimeError& error) {
        // The numbering's own failures only, as the DXF reader's.
        FUZZ_CHECK(error.number() == platform::RuntimeError::TypeMismatch ||
                       error.number() == platform::RuntimeError::Overflow,
                   error.description());
    }
    FUZZ_CHECK(session.boxes.boxes().empty() && drawing.boxes.boxes().empty(), QString());
    return 0;
}
