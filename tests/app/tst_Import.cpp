#include "TestRunner.h"
#include "WindowFixture.h"

#include "app/frmImport.h"

#include <QSpinBox>

using namespace testing;
using namespace platform;

namespace {

struct Import {
    QString files;    // in tests/data/import, shown in turn
    QString steps;    // " / " between: "CONTROL KEYS" typed into a control, "Ok [Y|N|C]", "Annuler"
    bool listed;      // a point A is listed before
    QString count;    // lines giving a point and lines left aside, as the last window counts them
    QString rejected; // the rows it lists as left aside
    QString points;   // the store at the end
    bool stillOpen = false;
    QString boxes = {}; // error reports shown
};

} // namespace
Q_DECLARE_METATYPE(Import)

// The import window driven as a user would, over the sample files of other
// programs: the layout it finds, the user's corrections, and "Ok" adding the
// points as "Ouvrir" does.
class TestImport : public QObject {
    Q_OBJECT
private slots:
    void importWindow_data();
    void importWindow();
};

void TestImport::importWindow_data() {
    const QString codigo =
        QStringLiteral("P1|350123.456|4650123.789|512.3 & P2|350130.001|4650130.002|513.04");
    Rows<Import> row;
    // A role given to a column leaves the column that had it.
    row("user swaps X and Y",
        {"header-codigo.csv", "Role1 Y / Role2 X / Ok", false, "2 0", "",
         "P1|4650123.789|350123.456|512.3 & P2|4650130.002|350130.001|513.04"});
    row("user skips a data line", {"header-codigo.csv", "Spin1 2 / Ok", false, "1 0", "",
                                   "P2|350130.001|4650130.002|513.04"});
    row("rows left aside, then Annuler",
        {"bad-rows.csv", "Annuler", false, "3 6",
         "Ligne 3 : X manquant / Ligne 4 : Y n'est pas un nombre : « abc » / Ligne 5 : trop peu "
         "de colonnes (2 au lieu d'au moins 3) / Ligne 8 : Z n'est pas un nombre : « 12x » / "
         "Ligne 10 : X n'est pas un nombre : « inf » / Ligne 11 : Y n'est pas un nombre : "
         "« 2 010,5 »",
         ""});
    // Every change counts the whole file again.
    row("decimal point forced on a comma file", {"decimal-comma.csv", "Combo2 P", false, "0 2",
                                                 "Ligne 1 : X n'est pas un nombre : « 1234,567 » / "
                                                 "Ligne 2 : X n'est pas un nombre : « 1235,5 »",
                                                 "", true});
    // The open command's question, with its answers.
    row("listed points, Cancel keeps the window",
        {"header-codigo.csv", "Ok C", true, "2 0", "", "A|1|2|3", true});
    row("listed points, Yes adds",
        {"header-codigo.csv", "Ok Y", true, "2 0", "", "A|1|2|3 & " + codigo});
    // One window after the other; an unreadable file is reported and passed
    // over. The header's names give the roles; the code and description are
    // left aside.
    row("two files in turn",
        {"header-codigo.csv point-northing-easting.csv", "Ok / Ok Y", false, "2 0", "",
         codigo + " & 1000|3000.5|5000.125|250.25 & 1001|3010.25|5010.875|251.5"});
    row("unreadable file",
        {"missing.csv header-codigo.csv", "Ok", false, "2 0", "", codigo, false,
         "Tovalin: Erreur d'exécution '53' :\n\nFichier introuvable [critical ok]"});
}

void TestImport::importWindow() {
    QFETCH(Import, c);
    RegionalFormatScope scope(frenchFormat());
    WindowFixture f(c.listed ? std::vector<PointRecord>{{1, 2, 3, QStringLiteral("A")}}
                             : std::vector<PointRecord>{});
    f.window.show();
    QStringList fileNames;
    for (const QString& name : c.files.split(u' '))
        fileNames << QStringLiteral(TOVALIN_TEST_DATA "/import/") + name;
    if (!c.boxes.isEmpty())
        f.boxes.answerMessage(MsgAnswer::Ok);
    ShowImportWindows(f.window, fileNames);
    QPointer<QDialog> window = child<QDialog>(&f.window, "frmImport");
    QVERIFY(window);
    QCOMPARE(window->windowTitle(), QStringLiteral("Importer un relevé"));

    // What the window shows before its buttons are pressed.
    QString count, rejected;
    auto look = [&] {
        count = child<QLabel>(window, "Label1")->text();
        const auto* list = child<QListWidget>(window, "List1");
        QStringList rows;
        for (int i = 0; i < list->count(); ++i)
            rows << list->item(i)->text();
        rejected = rows.join(QStringLiteral(" / "));
    };
    const QStringList steps = c.steps.split(QStringLiteral(" / "));
    for (const QString& step : steps) {
        QVERIFY2(window, qPrintable(step));
        const QStringList words = step.split(u' ');
        if (words[0] == u"Ok" || words[0] == u"Annuler") {
            look();
            if (words.size() > 1)
                f.boxes.answerMessage(MsgAnswer(QStringLiteral("OYNC").indexOf(words[1])));
            QTest::mouseClick(
                child<QPushButton>(window, words[0] == u"Ok" ? "Command1" : "Command2"),
                Qt::LeftButton);
        } else if (auto* spin = child<QSpinBox>(window, qPrintable(words[0]))) {
            spin->setFocus();
            QTest::keyClick(spin, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(spin, words[1]);
            QTest::keyClick(spin, Qt::Key_Return);
        } else {
            // A closed combo box chooses the entry whose text starts with what is typed.
            auto* combo = child<QComboBox>(window, qPrintable(words[0]));
            QVERIFY2(combo, qPrintable(step));
            QTest::keyClicks(combo, words[1]);
        }
        QCoreApplication::processEvents();
        // A closed window makes way for the next file's.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (!window)
            window = child<QDialog>(&f.window, "frmImport");
    }
    if (window)
        look();
    const QStringList counted = c.count.split(u' ');
    QCOMPARE(count, QStringLiteral("Lignes donnant un point : %1    Lignes écartées : %2")
                        .arg(counted[0], counted[1]));
    QCOMPARE(rejected, c.rejected);
    QCOMPARE(!window.isNull(), c.stillOpen);

    QCOMPARE(PointsAsText(f.state).join(QStringLiteral(" & ")), c.points);
    QCOMPARE(gridColumn(f.state, 0), storedNames(f.state));
    const bool added = !c.stillOpen && steps.last().startsWith(u"Ok");
    QCOMPARE(f.state.CurrentFileName, added ? fileNames.last() : QString());
    QCOMPARE(shownBoxes(f.boxes).filter(QStringLiteral("Tovalin: ")).join(QStringLiteral(" / ")),
             c.boxes);
    if (steps.last().startsWith(u"Ok "))
        QCOMPARE(shownBoxes(f.boxes).last(),
                 QStringLiteral("Ajout de fichier: Voulez vous ajouter le fichier à ouvrir ? "
                                "[none yesnocancel]"));
    QCOMPARE(f.boxes.unusedAnswers(), 0u);
    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
}

TOVALIN_TEST(TestImport)
#include "tst_Import.moc"
