#include "TestRunner.h"
#include "TestSupport.h"

#include "app/GestionDonnee.h"
#include "editing/PointEditing.h"
#include "platform/RuntimeError.h"
#include "platform/ScriptedDialogs.h"

using namespace testing;
using namespace platform;

namespace {

PointRecord point(const QString& name, double x, double y, double z) {
    return PointRecord{x, y, z, name};
}

// A (1, 2, 3), B (4, 5, 0), "" (7, 8, 9), " C" (0.1, 2, 6): empty identifier,
// zeros, a leading blank and a coordinate with a long decimal expansion.
std::vector<PointRecord> samplePoints() {
    return {point("A", 1, 2, 3), point("B", 4, 5, 0), point("", 7, 8, 9), point(" C", 0.1, 2, 6)};
}

} // namespace

class TestPointSearch : public QObject {
    Q_OBJECT
private slots:
    void coordinateCheck_data();
    void coordinateCheck();
    void coordinateAfterOk_data();
    void coordinateAfterOk();
    void coordinateBeyondRangeIsAnError();
    void walk_data();
    void walk();
    void foundPromptUsesStoredValues();
    void matriculeScan_data();
    void matriculeScan();
};

void TestPointSearch::coordinateCheck_data() {
    QTest::addColumn<bool>("french");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::newRow("fr decimal") << true << "-12,5" << true;
    QTest::newRow("fr lone minus") << true << "-" << true;
    QTest::newRow("fr trailing comma") << true << "12," << true;
    QTest::newRow("fr exponent") << true << "1e5" << true;
    QTest::newRow("fr exponent letter alone") << true << "1e" << false;
    QTest::newRow("fr two commas") << true << "1,2,3" << false;
    QTest::newRow("fr point made comma") << true << "1.5" << true;
    QTest::newRow("fr point and comma") << true << "1,5.5" << false;
    QTest::newRow("fr plus sign read as number") << true << "+5" << true;
    QTest::newRow("fr plus sign alone") << true << "+" << false;
    QTest::newRow("fr letter") << true << "12a" << false;
    // Under a point-decimal format the comma groups digits, so the same
    // typing is read otherwise.
    QTest::newRow("en comma groups") << false << "1,2,3" << true;
    QTest::newRow("en decimal point") << false << "12.5" << true;
    QTest::newRow("en two points") << false << "1.2.3" << false;
    QTest::newRow("en letter") << false << "x" << false;
}

void TestPointSearch::coordinateCheck() {
    QFETCH(bool, french);
    QFETCH(QString, text);
    QFETCH(bool, valid);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    QCOMPARE(IsValidCoordinateText(text), valid);
}

void TestPointSearch::coordinateAfterOk_data() {
    QTest::addColumn<bool>("french");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("field");
    QTest::addColumn<double>("value");
    QTest::newRow("fr empty") << true << ""
                              << "0" << 0.0;
    QTest::newRow("fr decimal") << true << "12,5"
                                << "12,5" << 12.5;
    QTest::newRow("fr trailing text dropped") << true << "12,5,7"
                                              << "12,5" << 12.5;
    QTest::newRow("fr lone minus") << true << "-"
                                   << "0" << 0.0;
    QTest::newRow("fr exponent") << true << "1,5e3"
                                 << "1500" << 1500.0;
    QTest::newRow("fr all digits kept") << true << "652345,123456789"
                                        << "652345,123456789" << 652345.123456789;
    QTest::newRow("fr huge") << true << "1e20"
                             << "1E+20" << 1e20;
    QTest::newRow("en comma is the decimal") << false << "1,234"
                                             << "1.234" << 1.234;
    QTest::newRow("en negative") << false << "-0,5"
                                 << "-0.5" << -0.5;
}

void TestPointSearch::coordinateAfterOk() {
    QFETCH(bool, french);
    QFETCH(QString, typed);
    QFETCH(QString, field);
    QFETCH(double, value);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    const QString rewritten = CoordinateTextAfterOk(typed);
    QCOMPARE(rewritten, field);
    // The rewritten field reads back in the regional format as the same number.
    const PointRecord scratch = ScratchPointOf(PointFields{" P ", rewritten, "0", "0"});
    QCOMPARE(scratch.X, value);
    QCOMPARE(scratch.Matricule, QStringLiteral(" P "));
}

void TestPointSearch::coordinateBeyondRangeIsAnError() {
    RegionalFormatScope scope(frenchFormat());
    // Too many digits to be a number, so typing accepted it.
    const QString digits(400, u'9');
    QVERIFY(IsValidCoordinateText(digits));
    try {
        CoordinateTextAfterOk(digits);
        QFAIL("no error");
    } catch (const RuntimeError& error) {
        QCOMPARE(error.number(), 6);
    }
}

void TestPointSearch::walk_data() {
    QTest::addColumn<QStringList>("fields"); // Text4, Text1, Text2, Text3 after OK
    QTest::addColumn<bool>("allFields");
    QTest::addColumn<QList<int>>("answers"); // MsgAnswer, one per find
    QTest::addColumn<QStringList>("found");  // identifiers announced
    QTest::addColumn<int>("outcome");
    QTest::addColumn<int>("index");
    QTest::addColumn<double>("count"); // PointCount

    const int yes = int(MsgAnswer::Yes), no = int(MsgAnswer::No), cancel = int(MsgAnswer::Cancel);
    // Fields left empty were turned into "0": every zero coordinate matches,
    // as does every empty identifier.
    QTest::newRow("empty fields") << QStringList{"", "0", "0", "0"} << false << QList<int>{no, no}
                                  << QStringList{"B", ""} << int(SearchOutcome::Finished) << 4
                                  << 4.0;
    QTest::newRow("identifier or coordinate")
        << QStringList{" A ", "7", "0", "6"} << false << QList<int>{no, no, no}
        << QStringList{"A", "", " C"} << int(SearchOutcome::Finished) << 4 << 4.0;
    QTest::newRow("yes stops at the find")
        << QStringList{"x", "4", "0", "0"} << false << QList<int>{yes} << QStringList{"B"}
        << int(SearchOutcome::Edit) << 1 << 4.0;
    QTest::newRow("cancel stops") << QStringList{"x", "1", "2", "0"} << false
                                  << QList<int>{no, cancel} << QStringList{"A", "B"}
                                  << int(SearchOutcome::Cancelled) << 1 << 4.0;
    QTest::newRow("no tolerance") << QStringList{"x", "0,1000000001", "-2", "9,0"} << false
                                  << QList<int>{no} << QStringList{""}
                                  << int(SearchOutcome::Finished) << 4 << 4.0;
    QTest::newRow("stored leading blank never found")
        << QStringList{" C", "-1", "-1", "-1"} << false << QList<int>{} << QStringList{}
        << int(SearchOutcome::Finished) << 4 << 4.0;
    QTest::newRow("all fields never reports")
        << QStringList{"A", "1", "2", "3"} << true << QList<int>{} << QStringList{}
        << int(SearchOutcome::Finished) << 4 << 4.0;
    QTest::newRow("no points") << QStringList{"", "0", "0", "0"} << false << QList<int>{}
                               << QStringList{} << int(SearchOutcome::Finished) << 0 << 0.0;
    QTest::newRow("all fields with every field empty")
        << QStringList{"", "", "", ""} << true << QList<int>{} << QStringList{}
        << int(SearchOutcome::Finished) << 4 << 4.0;
}

void TestPointSearch::walk() {
    QFETCH(QStringList, fields);
    QFETCH(bool, allFields);
    QFETCH(QList<int>, answers);
    QFETCH(QStringList, found);
    QFETCH(int, outcome);
    QFETCH(int, index);
    QFETCH(double, count);
    RegionalFormatScope scope(frenchFormat());
    ScriptedDialogs boxes;
    for (int answer : answers)
        boxes.answerMessage(MsgAnswer(answer));
    const bool finished = outcome == int(SearchOutcome::Finished);
    if (finished)
        boxes.answerMessage(MsgAnswer::Ok);
    // The store keeps an empty slot behind its last point: never walked.
    std::vector<PointRecord> points = samplePoints();
    points.emplace_back();

    const SearchOutcome result =
        SearchPoints(points, count, PointFields{fields[0], fields[1], fields[2], fields[3]},
                     allFields ? SearchRule::AllFields : SearchRule::AnyField, boxes);
    QCOMPARE(int(result.kind), outcome);
    QCOMPARE(int(result.index), index);
    QCOMPARE(boxes.unusedAnswers(), 0u);
    QStringList announced;
    for (std::size_t i = 0; i < boxes.boxes().size(); ++i) {
        const RecordedBox& box = boxes.boxes()[i];
        QCOMPARE(box.icon, MsgIcon::Information);
        if (finished && i + 1 == boxes.boxes().size()) {
            QCOMPARE(box.prompt, QStringLiteral("Recherche terminée"));
            QCOMPARE(box.title, QStringLiteral("Recherche Terminée"));
            QCOMPARE(box.buttons, MsgButtons::Ok);
        } else {
            QCOMPARE(box.title, QStringLiteral("Point Trouvé"));
            QCOMPARE(box.buttons, MsgButtons::YesNoCancel);
            announced << box.prompt.section(u'\r', 1, 1).mid(5);
        }
    }
    QCOMPARE(announced, found);
}

void TestPointSearch::foundPromptUsesStoredValues() {
    RegionalFormatScope scope(frenchFormat());
    QCOMPARE(PointFoundPrompt(point("12", 652345.123456789, -0.5, 1e-7)),
             QStringLiteral("Point trouvé\rNum= 12\rX= 652345,123456789\rY= -0,5\rZ= "
                            "1E-07\r\rVoulez vous l'éditer ?"));
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
