#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "import/Importer.h"
#include "platform/NumberText.h"

using namespace testing;
using namespace importing;

namespace {

// A sample of tests/data/import read through the importer.
struct Sample {
    const char* file;
    QString layout;          // DescribeLayout, or the note of a drawing
    QString points;          // "name|x|y|z", " & " between points
    QString rejected = {};   // "line: reason", " & " between rows
    ImportOptions options{}; // what the user fixed
};

struct Split {
    QByteArray line;
    char separator;
    QString cells; // " & " between cells, each in []
};

struct Decoding {
    QByteArray bytes;
    QString encoding;
    QString lines; // " & " between lines, each in []
};

ImportOptions columns(const char* roles, std::optional<int> skip = std::nullopt) {
    ImportOptions options;
    options.columns = ParseColumns(QString::fromLatin1(roles));
    options.skipLines = skip;
    return options;
}

QString bracketed(const QStringList& cells) {
    QStringList out;
    for (const QString& cell : cells)
        out << u'[' + cell + u']';
    return out.join(QStringLiteral(" & "));
}

} // namespace
Q_DECLARE_METATYPE(Sample)
Q_DECLARE_METATYPE(Split)
Q_DECLARE_METATYPE(Decoding)

class TestImporter : public QObject {
    Q_OBJECT
private slots:
    void samples_data();
    void samples();
    void cells_data();
    void cells();
    void decoding_data();
    void decoding();
    void manyRowsInOrder();
};

void TestImporter::samples_data() {
    Rows<Sample> row;
    const QString comma = QStringLiteral("encodage UTF-8, séparateur virgule, décimale point, ");
    const QString semicolon =
        QStringLiteral("encodage UTF-8, séparateur point-virgule, décimale virgule, ");
    row("PNEZD, LF, code column",
        {"pnezd-code.csv", comma + "sans en-tête, colonnes id,x,y,z,-",
         "1|1000|2000|100 & 2|1010.25|2005.125|101.5 & 3|1020.5|2010.75|99.875"});
    row("trailing separator",
        {"trailing-separator.csv", comma + "sans en-tête, colonnes id,x,y,z,-",
         "101|5432.1234|8765.4321|2444.1616 & 102|5433.0001|8766.0002|2445.5 & "
         "103|5434.5|8767.25|2446.125"});
    row("num point; decimal comma",
        {"num-point-semicolon.csv", semicolon + "1 ligne d'en-tête, colonnes id,x,y,z",
         "1|652100.12|6862300.45|35.7 & 2|652110.5|6862310.25|36.125"});
    row("quoted X Y Z and a time",
        {"quoted-xyz-offset.csv",
         comma + "1 ligne d'en-tête, colonnes x,y,z,- (points numérotés à partir de 1)",
         "1|489123.25|5456789.5|212.75 & 2|489124.5|5456790.75|212.5"});
    row("aligned, fourth column",
        {"aligned-fourth.txt",
         "encodage UTF-8, séparateur blancs, décimale point, sans en-tête, colonnes x,y,z,- "
         "(points numérotés à partir de 1)",
         "1|289814.15|4320978.61|170.76 & 2|289815.05|4320979.22|170.81 & "
         "3|289816.4|4320980.03|170.69"});
    row("decimal comma, no header",
        {"decimal-comma.csv", semicolon + "sans en-tête, colonnes id,x,y,z",
         "A1|1234.567|7654.321|12.5 & A2|1235.5|7655.25|13.75"});
    row("UTF-8 with BOM, tabs",
        {"utf8-bom-tab.txt",
         "encodage UTF-8 avec BOM, séparateur tabulation, décimale point, 1 ligne d'en-tête, "
         "colonnes id,x,y,z",
         "Marco-ç|512000.5|7450000.25|820.125 & Árvore|512010.75|7450010.5|821.5"});
    row("UTF-8, bars",
        {"utf8-pipe.txt",
         "encodage UTF-8, séparateur barre verticale, décimale point, 1 ligne d'en-tête, "
         "colonnes id,x,y,z",
         "Église|600100.1|2400200.2|150.3 & Côte|600110.4|2400210.5|151.6"});
    row("full precision, names as written",
        {"precision.csv", comma + "1 ligne d'en-tête, colonnes id,x,y,z",
         "007|0.1|-12345678.12345679|0.001 & P 2|123456789012.345|5e-324|0"});
    row("bad rows",
        {"bad-rows.csv", comma + "1 ligne d'en-tête, colonnes id,x,y,z,-",
         "1|1000|2000|100 & 5|1004|2004|0 & 7|1006|2006|106",
         "3: X manquant & 4: Y n'est pas un nombre : « abc » & "
         "5: trop peu de colonnes (2 au lieu d'au moins 3) & 8: Z n'est pas un nombre : « 12x » & "
         "10: X n'est pas un nombre : « inf » & 11: Y n'est pas un nombre : « 2 010,5 »"});
    // What the user fixes wins over what is found.
    row("lines skipped, header named",
        {"header-codigo.csv",
         comma + "1 ligne d'en-tête (2 lignes sautées), colonnes id,x,y",
         "P2|350130.001|4650130.002|0",
         {},
         columns("id,x,y", 2)});
    row("nothing skipped: the header is a bad row",
        {"num-point-semicolon.csv", semicolon + "sans en-tête, colonnes id,x,y,z",
         "1|652100.12|6862300.45|35.7 & 2|652110.5|6862310.25|36.125",
         "1: X n'est pas un nombre : « x »", columns("id,x,y,z", 0)});
    // Drawings: only the POINTs of ENTITIES, numbered from Num_Pt_Dxf (1).
    row("R12 drawing, CR LF",
        {"r12-crlf.dxf", "",
         "1|652100.125|6862300.5|35.75 & 2|652110.25|6862310.125|36.5 & 3|-12.5|1e-06|0"});
    row("2018 drawing, LF",
        {"2018-lf.dxf", "", "1|489123.2512|5456789.5034|212.7501 & 2|489124.5|5456790.75|212.5"});
}

// Every sample gives its points exactly, and every row left aside is told
// with its line and why.
void TestImporter::samples() {
    QFETCH(Sample, c);
    CommandFixture f;
    const QString path = dataFile(QStringLiteral("import/") + QString::fromLatin1(c.file));
    const bool drawing = path.endsWith(QStringLiteral(".dxf"));
    const ImportReport report = drawing ? ImportDxfPoints(f.state, path, f.progress)
                                        : ImportDelimitedFile(f.state, path, c.options, f.progress);
    QCOMPARE(drawing ? report.note : DescribeLayout(report.layout), c.layout);
    QCOMPARE(PointsAsText(f.state), items(c.points));
    QStringList rejected;
    for (const RejectedRow& row : report.rejected)
        rejected << platform::DefaultText(double(row.line)) + QStringLiteral(": ") + row.reason;
    QCOMPARE(rejected, items(c.rejected));
    QCOMPARE(report.points, qint64(f.state.PointCount));
    QCOMPARE(report.rejectedCount, qint64(rejected.size()));
    QCOMPARE(f.progress.ticks, int(report.points));
}

void TestImporter::cells_data() {
    Rows<Split> row;
    row("quotes keep separators",
        {"\"a,b\",1,\"say \"\"hi\"\"\"", ',', "[a,b] & [1] & [say \"hi\"]"});
    row("blanks around cells go", {"  a , 1 ,\t2", ',', "[a] & [1] & [2]"});
    row("tab keeps blanks inside", {"a b\t 1\t\t2", '\t', "[a b] & [1] & [] & [2]"});
    row("quoted between blanks", {"\"P 1\"  2 \"\"", ' ', "[P 1] & [2] & []"});
    row("unclosed quote runs to the end", {"1,\"a,b", ',', "[1] & [a,b]"});
    row("after the closing quote", {"\"a\"x,1", ',', "[a] & [1]"});
}

void TestImporter::cells() {
    QFETCH(Split, c);
    const ImportText text = ImportText::fromBytes(c.line);
    TextLayout layout;
    layout.separator = QChar::fromLatin1(c.separator);
    const std::vector<QStringList> rows = SplitRows(text, layout, 0, 5);
    QCOMPARE(rows.size(), std::size_t(1));
    QCOMPARE(bracketed(rows.front()), c.cells);
}

void TestImporter::decoding_data() {
    Rows<Decoding> row;
    row("every line end", {"a\r\nb\nc\rd\n\re", "UTF-8", "[a] & [b] & [c] & [d] & [] & [e]"});
    row("last line without end, empty lines kept", {"a\n\nb", "UTF-8", "[a] & [] & [b]"});
    row("nothing", {"", "UTF-8", ""});
    row("invalid UTF-8 is Windows-1252", {"\xe9t\xe9\x80", "Windows-1252", "[été€]"});
    row("UTF-16BE BOM", {QByteArray("\xfe\xff\0a\0\r\0\n\0\xe9", 10), "UTF-16BE", "[a] & [é]"});
    row("UTF-16LE BOM", {QByteArray("\xff\xfe"
                                    "a\0\r\0\xe9\0",
                                    8),
                         "UTF-16LE", "[a] & [é]"});
    row("UTF-16LE without BOM", {QByteArray("1\0,\0"
                                            "2\0\n\0"
                                            "3\0,\0"
                                            "4\0",
                                            14),
                                 "UTF-16LE", "[1,2] & [3,4]"});
}

void TestImporter::decoding() {
    QFETCH(Decoding, c);
    const ImportText text = ImportText::fromBytes(c.bytes);
    QCOMPARE(text.encoding(), c.encoding);
    QStringList lines;
    for (qsizetype i = 0; i < text.lineCount(); ++i)
        lines << text.lineText(i);
    QCOMPARE(bracketed(lines), c.lines);
}

// Enough rows for the reading to go side by side and in several batches:
// points in file order, numbered in that order, and the rows left aside
// counted whichever part met them, the first ones kept in order.
void TestImporter::manyRowsInOrder() {
    QByteArray bytes = "x;y\n";
    constexpr int kRows = 300000;
    for (int i = 1; i <= kRows; ++i) {
        char digits[24];
        const QByteArray n(digits, platform::WriteWholeNumber(std::uint64_t(i), digits));
        bytes += i % 50000 == 0 ? "bad;" + n + '\n' : n + ";0,5\n";
    }
    const ImportText text = ImportText::fromBytes(bytes);
    const TextLayout layout = DetectLayout(text, {});
    QCOMPARE(DescribeLayout(layout),
             QStringLiteral("encodage UTF-8, séparateur point-virgule, "
                            "décimale virgule, 1 ligne d'en-tête, "
                            "colonnes x,y (points numérotés à partir de 1)"));
    qint64 read = 0;
    bool ordered = true;
    const ImportReport report = ReadRows(
        text, layout,
        [&](PointRecord&& point) {
            ++read;
            // Row i holds X = i; every 50,000th is left aside.
            const double expected = double(read + (read - 1) / 49999);
            ordered = ordered && point.X == expected && point.Y == 0.5 &&
                      point.Matricule == platform::DefaultText(double(read));
        },
        4);
    QVERIFY(ordered);
    QCOMPARE(report.points, qint64(kRows - 6));
    QCOMPARE(report.rejectedCount, qint64(6));
    QStringList lines;
    for (const RejectedRow& row : report.rejected)
        lines << platform::DefaultText(double(row.line));
    QCOMPARE(lines, (QStringList{"50001", "100001", "150001", "200001"}));
}

TOVALIN_TEST(TestImporter)
#include "tst_Importer.moc"
