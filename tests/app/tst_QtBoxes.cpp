#include "TestRunner.h"

#include "platform/QtDialogs.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

using namespace platform;

// The real message and input boxes, as a user sees them: the text each shows,
// read from the open box, which is then answered by its close box.
class TestQtBoxes : public QObject {
    Q_OBJECT

private slots:
    void lineBreaks_data();
    void lineBreaks();
};

void TestQtBoxes::lineBreaks_data() {
    QTest::addColumn<QString>("prompt");
    QTest::addColumn<QString>("shown");
    QTest::newRow("lone CR") << "Entrez la taille de la police\rExemple : 1"
                             << "Entrez la taille de la police\nExemple : 1";
    QTest::newRow("CR LF") << "Une erreur c'est produite\r\nVous devez réinstaller Tovalin"
                           << "Une erreur c'est produite\nVous devez réinstaller Tovalin";
    QTest::newRow("lone LF") << "a\nb"
                             << "a\nb";
    QTest::newRow("CR CR") << "Point trouvé\r\rNum= 9"
                           << "Point trouvé\n\nNum= 9";
}

void TestQtBoxes::lineBreaks() {
    QFETCH(QString, prompt);
    QFETCH(QString, shown);
    for (const bool input : {false, true}) {
        auto texts = std::make_shared<QStringList>();
        QTimer::singleShot(0, [texts] {
            QWidget* box = QApplication::activeModalWidget();
            QVERIFY(box != nullptr);
            for (QLabel* label : box->findChildren<QLabel*>()) {
                if (!label->text().isEmpty() && label->isVisible())
                    *texts << label->text();
            }
            box->close();
        });
        if (input) {
            QtInputBoxService service;
            service.ask(prompt, QStringLiteral("Titre"), QStringLiteral("1"));
        } else {
            QtMessageBoxService service;
            service.show(prompt, MsgButtons::Ok, MsgIcon::None, QStringLiteral("Titre"));
        }
        QVERIFY2(texts->contains(shown), qPrintable(texts->join(u'|')));
    }
}

TOVALIN_TEST(TestQtBoxes)
#include "tst_QtBoxes.moc"
