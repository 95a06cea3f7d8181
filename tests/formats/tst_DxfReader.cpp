#include "Fixtures.h"
#include "RuntimeErrors.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "formats/DxfReader.h"
#include "state/GestionDonnee.h"

using namespace testing;

namespace {

// The fields of a file, "|" between them, one per line. An empty text is an
// empty file.
QByteArray dxf(const QString& fields, const char* lineEnd) {
    QByteArray bytes;
    if (!fields.isEmpty()) {
        for (const QString& field : fields.split(u'|'))
            bytes += field.toLatin1() + lineEnd;
    }
    return bytes;
}

// The head of a file up to its first POINT entity.
const QString head = QStringLiteral("0|SECTION|2|ENTITIES|0|POINT|8|0|");

// A file read: its points ("identifier|x|y|z", " & " between them), the
// identifier the next point would get, the error number (0 for none).
QString outcome(const GestionDonnee& state, int error) {
    return QStringLiteral("error %1: %2, next %3")
        .arg(error)
        .arg(PointsAsText(state).join(QStringLiteral(" & ")), state.Settings.Num_Pt_Dxf.toText());
}

struct DxfRead {
    QString fields; // null: no file at all
    QString numbering;
    int error;
    QString points; // French, " & " between points
    QString next;
    QString englishPoints = {}; // null: as French
    QString englishNext = {};
};

} // namespace
Q_DECLARE_METATYPE(DxfRead)

class TestDxfReader : public QObject {
    Q_OBJECT
private slots:
    void read_data();
    void read();
};

void TestDxfReader::read_data() {
    Rows<DxfRead> row;
    row("minimal", {head + "10|1.25|20|2|30|3.0004|0|ENDSEC|0|EOF", "1", 0, "1|1.25|2|3", "2"});
    // The point search starts at ENTITIES: a POINT in the header does not
    // count, and codes 10 before the first POINT of the section (the end of
    // the LINE carries the value 10 too) are passed over.
    row("codes before POINT",
        {"0|SECTION|2|HEADER|9|$EXTMIN|10|0|20|0|30|0|0|POINT|10|99|20|99|30|99|0|ENDSEC|"
         "0|SECTION|2|ENTITIES|0|LINE|10|5|20|6|30|7|11|8|21|9|31|10|"
         "0|POINT|10|1|20|2|30|3|0|ENDSEC|0|EOF",
         "1", 0, "1|1|2|3", "2"});
    // Names are matched exactly, case included, blanks (inside quotes) trimmed.
    row("names", {"2|entities|0|POINT|10|9|20|9|30|9|2|\" ENTITIES \"|0|\"POINT  \"|10|1|20|2|30|3",
                  "1", 0, "1|1|2|3", "2"});
    // Every code 10 after the first POINT starts a point: line ends and
    // objects past ENDSEC included.
    row("past ENDSEC", {head + "10|1|20|2|30|3|0|LINE|10|4|20|5|30|6|11|7|21|8|31|9|0|ENDSEC|"
                               "0|SECTION|2|OBJECTS|10|11|20|12|30|13|0|ENDSEC|0|EOF",
                        "1", 0, "1|1|2|3 & 2|4|5|6 & 3|11|12|13", "4"});
    // Without a group 30 the Z is whatever field comes by position, a text
    // giving 0; a TEXT insertion point is a point too.
    row("fields by position",
        {head + "10|1|20|2|0|TEXT|10|4|20|5|40|2.5|1|label|0|POINT|10|abc|20|12abc|30|", "1", 0,
         "1|1|2|0 & 2|4|5|2.5 & 3|0|12|0", "4"});
    // A code 10 among the five fields of a point is no new point.
    row("10 inside a point",
        {head + "90|2|10|1.5|20|2.5|10|3.5|20|4.5|0|ENDSEC", "1", 0, "1|1.5|2.5|3.5", "2"});
    // A value 10 is taken for a code (an oblique angle here), and so is any
    // field whose text is "10": the number 10 written otherwise, or a value
    // that shows as 10 in 15 digits. 10.5 is no code.
    row("values read as 10",
        {head + "10|1|20|2|30|3|0|TEXT|40|1|51|10|1|7.5|10|4|20|10.0|5|20|6|30|0|+10|7|20|8|30|0|"
                "1E1|9|20|9|30|0|\" 10 \"|3|20|3|30|0|9.999999999999999|1|20|1|30|0|"
                "10.5|4|20|4|30|4",
         "1", 0, "1|1|2|3 & 2|1|10|20 & 3|5|6|0 & 4|7|8|0 & 5|9|9|0 & 6|3|3|0 & 7|1|1|0", "8"});
    row("three decimals",
        {head + "10|12.34567|20|-12.3455|30|0.5|10|-0.25|20|1234567.8915|30|1.5E3|"
                "10|-0.0004|20|  7  |30|1e-9",
         "1", 0, "1|12.346|-12.346|0.5 & 2|-0.25|1234567.892|1500 & 3|0|7|0", "4"});
    // The comma splits the line: a decimal comma shifts every field after it.
    row("decimal comma", {head + "10|1,5|20|2,5|30|3,5", "1", 0, "1|1|20|5", "2"});
    // Text values go through the regional format: what it cannot read comes
    // back untouched and keeps every decimal; what it reads is rounded, a
    // comma being the decimal mark or a grouping mark as the format says.
    row("quoted values", {head + "10|.12345|20|\"1,25\"|30|\"12.34567\"", "1", 0,
                          "1|0.12345|1.25|12.34567", "2", "1|0.123|125|12.346", "2"});
    // The identifier is added to in the regional format.
    row("fractional numbering", {head + "10|1|20|2|30|3|10|4|20|5|30|6", "1,5", 0,
                                 "1,5|1|2|3 & 2,5|4|5|6", "3,5", "1,5|1|2|3 & 16|4|5|6", "17"});

    // Reading past the end is error 62; the points before stay in the store.
    row("empty file", {"", "1", 62, "", "1"});
    row("no ENTITIES",
        {"0|SECTION|2|HEADER|0|POINT|10|1|20|2|30|3|0|ENDSEC|0|EOF", "1", 62, "", "1"});
    row("no POINT after ENTITIES",
        {"0|POINT|0|SECTION|2|ENTITIES|0|LINE|10|1|20|2|30|3|0|ENDSEC|0|EOF", "1", 62, "", "1"});
    row("ends inside a point",
        {head + "10|1|20|2|30|3|0|POINT|10|4|20|5", "1", 62, "1|1|2|3", "2"});
    row("out of range", {head + "10|1|20|2|30|3|10|1e400|20|2|30|3", "1", 6, "1|1|2|3", "2"});
    // Numbering switched off (or a text): the first point gets the setting,
    // then adding 1 to it fails.
    const QString two = head + "10|1|20|2|30|3|10|4|20|5|30|6";
    row("numbering off", {two, "", 13, "|1|2|3", ""});
    row("numbering text", {two, "A", 13, "A|1|2|3", "A"});
    row("no file", {QString(), "1", 53, "", "1"});

    // A file the writer wrote gives three points for each of its points: the
    // POINT, the identifier TEXT (its Z the text height) and the elevation
    // TEXT through its oblique angle 10 (X the code 1, Y the code 10, Z 20).
    QString written = QString::fromLatin1(readBytes(dataFile(QStringLiteral("writer-fr-3d.dxf"))));
    written.chop(2);
    row("a file the writer wrote",
        {written.replace(QStringLiteral("\r\n"), QStringLiteral("|")), "1", 0,
         "1|1000.5|2000.25|35.1 & 2|1000.75|2000.25|1 & 3|1|10|20 & 4|-12.346|-0.4|1234567.892 & "
         "5|-11.25|-0.4|1 & 6|1|10|20 & 7|0|0|0 & 8|0.75|0|1 & 9|1|10|20",
         "10"});

    // Points taken 32,768 at a time: three points again and again, the last
    // one from an oblique angle 10, past a batch; then cut short after them.
    QString many = QStringLiteral("0|SECTION|2|ENTITIES|");
    QStringList points;
    for (int i = 1; i < 36000; i += 3) {
        many += "0|POINT|8|0|10|1.25|20|-2|30|3.0004|0|TEXT|10|\"4.5\"|20|12.34567|30|abc|"
                "0|TEXT|40|1|51|10|1|7.5|10|4|20|9|";
        points << QStringLiteral("%1|1.25|-2|3 & %2|4.5|12.346|0 & %3|1|10|20")
                      .arg(i)
                      .arg(i + 1)
                      .arg(i + 2);
    }
    row("many batches", {many + "0|ENDSEC|0|EOF", "1", 0, points.join(" & "), "36001"});
    row("many batches, cut short", {many + "10|1|20", "1", 62, points.join(" & "), "36001"});
}

// Every row under both regional formats, with each kind of line break.
void TestDxfReader::read() {
    QFETCH(DxfRead, c);
    for (const bool french : {true, false}) {
        RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
        const bool asFrench = french || c.englishPoints.isNull();
        const QString expected =
            QStringLiteral("error %1: %2, next %3")
                .arg(c.error)
                .arg(asFrench ? c.points : c.englishPoints, asFrench ? c.next : c.englishNext);
        for (const char* lineEnd : {"\r\n", "\n", "\r"}) {
            CommandFixture f;
            f.state.Settings.Num_Pt_Dxf = c.numbering; // as start-up loads it: a text
            const QString path = f.dir.filePath(QStringLiteral("in.dxf"));
            if (!c.fields.isNull())
                writeBytes(path, dxf(c.fields, lineEnd));
            const int error = errorOf([&] { ReadDxfFile(f.context, path); });
            const QString where =
                (french ? QStringLiteral("French ") : QStringLiteral("English ")) +
                QString::fromLatin1(QByteArray(lineEnd).toPercentEncoding()) + QStringLiteral(", ");
            QCOMPARE(where + outcome(f.state, error), where + expected);
            if (c.error == 0)
                QCOMPARE(f.progress.ticks, int(f.state.PointCount));
            QVERIFY(f.settings.values.isEmpty()); // nothing saved
        }
    }
}

TOVALIN_TEST(TestDxfReader)
#include "tst_DxfReader.moc"
