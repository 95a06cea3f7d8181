#include "Fixtures.h"
#include "TestRunner.h"

#include "platform/QtDialogs.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
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
    void keyboard_data();
    void keyboard();
};

void TestQtBoxes::lineBreaks_data() {
    testing::Rows<std::pair<QString, QString>> row; // the prompt, the text shown
    row("lone CR", {"Entrez la taille\rExemple : 1", "Entrez la taille\nExemple : 1"});
    row("CR LF", {"Une erreur\r\nVous devez", "Une erreur\nVous devez"});
    row("lone LF", {"a\nb", "a\nb"});
    row("CR CR", {"Point trouvé\r\rNum= 9", "Point trouvé\n\nNum= 9"});
}

void TestQtBoxes::lineBreaks() {
    using Break = std::pair<QString, QString>;
    QFETCH(Break, c);
    const auto& [prompt, shown] = c;
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

void TestQtBoxes::keyboard_data() {
    QTest::addColumn<MsgButtons>("buttons");
    QTest::addColumn<int>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::addColumn<MsgAnswer>("answer");
    const auto alt = Qt::KeyboardModifiers(Qt::AltModifier);
    const auto none = Qt::KeyboardModifiers(Qt::NoModifier);
    const MsgButtons yesNo = MsgButtons::YesNo, three = MsgButtons::YesNoCancel;
    QTest::newRow("Alt+O, Oui") << yesNo << int(Qt::Key_O) << alt << MsgAnswer::Yes;
    QTest::newRow("Alt+N, Non") << yesNo << int(Qt::Key_N) << alt << MsgAnswer::No;
    QTest::newRow("O alone") << yesNo << int(Qt::Key_O) << none << MsgAnswer::Yes;
    QTest::newRow("N alone") << three << int(Qt::Key_N) << none << MsgAnswer::No;
    QTest::newRow("Alt+A, Annuler") << three << int(Qt::Key_A) << alt << MsgAnswer::Cancel;
    QTest::newRow("Escape, Non") << yesNo << int(Qt::Key_Escape) << none << MsgAnswer::No;
    QTest::newRow("Escape, Annuler") << three << int(Qt::Key_Escape) << none << MsgAnswer::Cancel;
    QTest::newRow("Return, Oui first") << three << int(Qt::Key_Return) << none << MsgAnswer::Yes;
}

// Oui, Non and Annuler from the keyboard, with the letters a French desktop
// underlines; the captions read without the mark are the plain words.
void TestQtBoxes::keyboard() {
    QFETCH(MsgButtons, buttons);
    QFETCH(int, key);
    QFETCH(Qt::KeyboardModifiers, modifiers);
    QFETCH(MsgAnswer, answer);
    auto captions = std::make_shared<QStringList>();
    auto leftOpen = std::make_shared<bool>(false);
    QTimer::singleShot(0, [=] {
        QWidget* box = QApplication::activeModalWidget();
        QVERIFY(box != nullptr);
        // Shortcuts reach the active window only.
        QVERIFY(QTest::qWaitForWindowActive(box));
        for (QAbstractButton* button : box->findChildren<QAbstractButton*>()) {
            if (button->isVisible())
                *captions << QString(button->text()).remove(u'&');
        }
        QTest::keyClick(box, Qt::Key(key), modifiers);
        // A key that answers nothing would leave the box open: note it and
        // close the box so the run goes on.
        const QPointer<QWidget> shown(box);
        if (!QTest::qWaitFor([shown] { return shown.isNull() || !shown->isVisible(); }, 2000)) {
            *leftOpen = true;
            shown->close();
        }
    });
    QtMessageBoxService service;
    const MsgAnswer got = service.show(QStringLiteral("Voulez vous ajouter le fichier à ouvrir ?"),
                                       buttons, MsgIcon::Question, QStringLiteral("Ouvrir"));
    QStringList expected{QStringLiteral("Oui"), QStringLiteral("Non")};
    if (buttons == MsgButtons::YesNoCancel)
        expected << QStringLiteral("Annuler");
    captions->sort();
    expected.sort();
    QCOMPARE(*captions, expected);
    QVERIFY2(!*leftOpen, "the key left the box open");
    QCOMPARE(got, answer);
}

TOVALIN_TEST(TestQtBoxes)
#include "tst_QtBoxes.moc"
