#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "editing/PointEditing.h"
#include "platform/RuntimeError.h"

using namespace testing;
using namespace platform;

namespace {

struct Walk {
    QString fields; // Text4|Text1|Text2|Text3 after "Ok"
    bool allFields;
    QString answers;   // Y, N, C: one per find
    QStringList found; // identifiers announced
    SearchOutcome::Kind outcome;
    int index;
    double count = 4; // PointCount
};

} // namespace
Q_DECLARE_METATYPE(Walk)

class TestPointSearch : public QObject {
    Q_OBJECT
private slots:
    void coordinateText_data();
    void coordinateText();
    void walk_data();
    void walk();
    void matriculeScan_data();
    void matriculeScan();
};

void TestPointSearch::coordinateText_data() {
    QTest::addColumn<bool>("french");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("valid");       // as typed; -1 not checked
    QTest::addColumn<QString>("afterOk"); // the field after "Ok", "#n" error n; "?" not checked
    QTest::addColumn<double>("value");
    auto row = [](const char* name, bool french, const QString& text, int valid,
                  const char* afterOk = "?", double value = 0) {
        QTest::newRow(name) << french << text << valid << QString::fromLatin1(afterOk) << value;
    };
    row("fr decimal", true, "-12,5", 1);
    row("fr lone minus", true, "-", 1, "0", 0);
    row("fr trailing comma", true, "12,", 1);
    row("fr exponent", true, "1e5", 1);
    row("fr exponent letter alone", true, "1e", 0);
    row("fr two commas", true, "1,2,3", 0);
    row("fr point made comma", true, "1.5", 1);
    row("fr point and comma", true, "1,5.5", 0);
    row("fr plus sign read as number", true, "+5", 1);
    row("fr plus sign alone", true, "+", 0);
    row("fr letter", true, "12a", 0);
    // Under a point-decimal format the comma groups digits when typed, yet
    // "Ok" reads it as the decimal mark.
    row("en comma groups", false, "1,2,3", 1);
    row("en decimal point", false, "12.5", 1);
    row("en two points", false, "1.2.3", 0);
    row("en letter", false, "x", 0);
    row("en comma is the decimal", false, "1,234", -1, "1.234", 1.234);
    row("en negative", false, "-0,5", -1, "-0.5", -0.5);
    row("fr empty", true, "", -1, "0", 0);
    row("fr decimal after Ok", true, "12,5", -1, "12,5", 12.5);
    row("fr trailing text dropped", true, "12,5,7", -1, "12,5", 12.5);
    row("fr exponent after Ok", true, "1,5e3", -1, "1500", 1500);
    row("fr all digits kept", true, "652345,123456789", -1, "652345,123456789", 652345.123456789);
    row("fr huge", true, "1e20", -1, "1E+20", 1e20);
    // Too many digits to be a number: typing accepts it, "Ok" fails.
    row("fr beyond range", true, QString(400, u'9'), 1, "#6");
}

void TestPointSearch::coordinateText() {
    QFETCH(bool, french);
    QFETCH(QString, text);
    QFETCH(int, valid);
    QFETCH(QString, afterOk);
    QFETCH(double, value);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    if (valid >= 0)
        QCOMPARE(IsValidCoordinateText(text), valid == 1);
    if (afterOk == u"?")
        return;
    QString rewritten;
    try {
        rewritten = CoordinateTextAfterOk(text);
    } catch (const RuntimeError& error) {
        rewritten = QStringLiteral("#%1").arg(error.number());
    }
    QCOMPARE(rewritten, afterOk);
    if (!afterOk.startsWith(u'#')) {
        // The rewritten field reads back in the regional format as the same number.
        const PointRecord scratch = ScratchPointOf(PointFields{" P ", rewritten, "0", "0"});
        QCOMPARE(scratch.X, value);
        QCOMPARE(scratch.Matricule, QStringLiteral(" P "));
    }
}

void TestPointSearch::walk_data() {
    Rows<Walk> row;
    const auto finished = SearchOutcome::Finished;
    // Fields left empty were turned into "0": every zero coordinate matches,
    // as does every empty identifier.
    row("empty fields", {"|0|0|0", false, "NN", {"B", ""}, finished, 4});
    row("identifier or coordinate", {" A |7|0|6", false, "NNN", {"A", "", " C"}, finished, 4});
    row("yes stops at the find", {"x|4|0|0", false, "Y", {"B"}, SearchOutcome::Edit, 1});
    row("cancel stops", {"x|1|2|0", false, "NC", {"A", "B"}, SearchOutcome::Cancelled, 1});
    row("no tolerance", {"x|0,1000000001|-2|9,0", false, "N", {""}, finished, 4});
    row("stored leading blank never found", {" C|-1|-1|-1", false, "", {}, finished, 4});
    row("all fields never reports", {"A|1|2|3", true, "", {}, finished, 4});
    row("all fields with every field empty", {"|||", true, "", {}, finished, 4});
    row("no points", {"|0|0|0", false, "", {}, finished, 0, 0});
}

void TestPointSearch::walk() {
    QFETCH(Walk, c);
    RegionalFormatScope scope(frenchFormat());
    ScriptedDialogs boxes;
    for (QChar answer : c.answers)
        boxes.answerMessage(MsgAnswer(QStringLiteral("OYNC").indexOf(answer)));
    const bool finished = c.outcome == SearchOutcome::Finished;
    if (finished)
        boxes.answerMessage(MsgAnswer::Ok);
    // An empty identifier, zeros, a leading blank, a long decimal expansion;
    // the store keeps an empty slot behind its last point, never walked.
    const std::vector<PointRecord> points{
        {1, 2, 3, "A"}, {4, 5, 0, "B"}, {7, 8, 9, ""}, {0.1, 2, 6, " C"}, {}};
    const QStringList f = c.fields.split(u'|');
    const SearchOutcome result =
        SearchPoints(points, c.count, PointFields{f[0], f[1], f[2], f[3]},
                     c.allFields ? SearchRule::AllFields : SearchRule::AnyField, boxes);
    QCOMPARE(result.kind, c.outcome);
    QCOMPARE(int(result.index), c.index);
    QCOMPARE(boxes.unusedAnswers(), 0u);
    QStringList shown = shownBoxes(boxes);
    if (finished)
        QCOMPARE(shown.takeLast(),
                 QStringLiteral("Recherche Terminée: Recherche terminée [information ok]"));
    QStringList announced;
    for (const QString& box : shown) {
        QVERIFY(box.startsWith(QStringLiteral("Point Trouvé: ")));
        QVERIFY(box.endsWith(QStringLiteral(" [information yesnocancel]")));
        announced << box.section(u'\r', 1, 1).mid(5);
    }
    QCOMPARE(announced, c.found);
}

void TestPointSearch::matriculeScan_data() {
    QTest::addColumn<QString>("current");
    QTest::addColumn<bool>("free");
    QTest::addColumn<int>("stopRow");
    // Rows: header, "7", " 8 ", "7", "Pt".
    QTest::newRow("first of two") << "7" << false << 1;
    QTest::newRow("both sides trimmed") << "8  " << false << 2;
    QTest::newRow("header row scanned") << "Matricule" << false << 0;
    QTest::newRow("case sensitive") << "pt" << true << 4;
    QTest::newRow("absent") << "9" << true << 4;
}

void TestPointSearch::matriculeScan() {
    QFETCH(QString, current);
    QFETCH(bool, free);
    QFETCH(int, stopRow);
    GestionDonnee state;
    state.Grid.setTextMatrix(0, 0, QStringLiteral("Matricule"));
    for (const char* row : {"7\t1\t2\t3", " 8 \t1\t2\t3", "7\t4\t5\t6", "Pt\t0\t0\t0"})
        state.Grid.addItem(QString::fromLatin1(row));
    state.Grid.setRow(3);
    state.Grid.setCol(0);
    QCOMPARE(IsMatriculeFree(state.Grid, Variant(current)), free);
    QCOMPARE(state.Grid.row(), stopRow);
    QCOMPARE(state.Grid.col(), 3);
}

TOVALIN_TEST(TestPointSearch)
#include "tst_PointSearch.moc"
