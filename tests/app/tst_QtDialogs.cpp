#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "app/FileCommands.h"
#include "platform/QtDialogs.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QTimer>
#include <QTranslator>
#include <optional>

using namespace platform;
using testing::Rows;

namespace {

// Runs `act` on the modal box once the event loop that shows it has started.
void whenShown(const std::function<void(QWidget*)>& act) {
    QTimer::singleShot(0, [act] {
        QWidget* box = QApplication::activeModalWidget();
        QVERIFY(box != nullptr);
        act(box);
    });
}

// A box shown with that prompt and answered with that key.
struct Box {
    QString prompt;
    QString shown;                     // its text as the box shows it
    std::optional<MsgButtons> buttons; // none: the input box
    int key;
    Qt::KeyboardModifiers modifiers;
    QString answer; // the button chosen, or the input box's text
};

} // namespace
Q_DECLARE_METATYPE(Box)

// The real message, input and file boxes, as a user sees them: each read
// from the open box, which is then answered as a user would.
class TestQtDialogs : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { QLocale::setDefault(QLocale::c()); }

    void initTestCase() {
        french_ = InstallQtFrenchTranslation(*qApp);
        QVERIFY2(french_ != nullptr, "qtbase_fr.qm (qt6-translations-l10n) not found");
    }

    void cleanupTestCase() {
        QCoreApplication::removeTranslator(french_);
        delete french_;
    }

    void boxes_data() {
        Rows<Box> row;
        const auto alt = Qt::KeyboardModifiers(Qt::AltModifier);
        const auto none = Qt::KeyboardModifiers(Qt::NoModifier);
        const MsgButtons yesNo = MsgButtons::YesNo, three = MsgButtons::YesNoCancel;
        const QString ask = QStringLiteral("Voulez vous ajouter le fichier à ouvrir ?");
        row("lone CR, Alt+O", {"Entrez la taille\rExemple : 1", "Entrez la taille\nExemple : 1",
                               yesNo, Qt::Key_O, alt, "Oui"});
        row("CR LF, Alt+N",
            {"Une erreur\r\nVous devez", "Une erreur\nVous devez", yesNo, Qt::Key_N, alt, "Non"});
        row("Alt+A, Annuler", {ask, ask, three, Qt::Key_A, alt, "Annuler"});
        row("Escape, Non", {ask, ask, yesNo, Qt::Key_Escape, none, "Non"});
        row("Escape, Annuler", {ask, ask, three, Qt::Key_Escape, none, "Annuler"});
        row("Return, Oui first", {ask, ask, three, Qt::Key_Return, none, "Oui"});
        // The input box: OK gives the text, Escape the empty text.
        row("input, lone CR, Return",
            {"Entrez la taille\rExemple : 1", "Entrez la taille\nExemple : 1", std::nullopt,
             Qt::Key_Return, none, "1"});
        row("input, CR LF, Escape", {"Une erreur\r\nVous devez", "Une erreur\nVous devez",
                                     std::nullopt, Qt::Key_Escape, none, ""});
    }

    // Each box as a user sees it: its text and its button captions read from the
    // open box, then a key pressed, with the letters a French desktop underlines.
    void boxes() {
        QFETCH(Box, c);
        auto shown = std::make_shared<QStringList>(); // the texts, then the captions
        auto leftOpen = std::make_shared<bool>(false);
        whenShown([shown, leftOpen, c](QWidget* box) {
            // Shortcuts reach the active window only.
            QVERIFY(QTest::qWaitForWindowActive(box));
            for (QLabel* label : box->findChildren<QLabel*>()) {
                if (!label->text().isEmpty() && label->isVisible())
                    *shown << label->text();
            }
            QStringList captions;
            for (QAbstractButton* button : box->findChildren<QAbstractButton*>()) {
                if (button->isVisible())
                    captions << QString(button->text()).remove(u'&');
            }
            captions.sort();
            *shown << captions.join(u' ');
            QTest::keyClick(box, Qt::Key(c.key), c.modifiers);
            // A key that answers nothing would leave the box open: note it and
            // close the box so the run goes on.
            const QPointer<QWidget> open(box);
            if (!QTest::qWaitFor([open] { return open.isNull() || !open->isVisible(); }, 2000)) {
                *leftOpen = true;
                open->close();
            }
        });
        static const char* const answers[] = {"OK", "Oui", "Non", "Annuler"}; // as MsgAnswer
        const QString title = QStringLiteral("Titre");
        const QString got = c.buttons
                                ? QString::fromUtf8(answers[int(QtMessageBoxService().show(
                                      c.prompt, *c.buttons, MsgIcon::Question, title))])
                                : QtInputBoxService().ask(c.prompt, title, QStringLiteral("1"));
        QVERIFY2(shown->contains(c.shown), qPrintable(shown->join(u'|')));
        QCOMPARE(shown->last(), !c.buttons ? QStringLiteral("Annuler OK")
                                : *c.buttons == MsgButtons::YesNo
                                    ? QStringLiteral("Non Oui")
                                    : QStringLiteral("Annuler Non Oui"));
        QVERIFY2(!*leftOpen, "the key left the box open");
        QCOMPARE(got, c.answer);
    }

    // The open dialog as the program shows it: Qt's widget dialog in French,
    // each filter shown once by its description; the filter chosen is the index
    // returned and the one selected next time.
    void filtersShownOnce() {
        QTemporaryDir folder;
        const QString chosen = folder.filePath(QStringLiteral("plan.dxf"));
        testing::writeBytes(chosen, "");
        QtFileDialogService service;
        auto seen = std::make_shared<QStringList>();
        auto answer = [seen](const QString& name, int filter) {
            whenShown([=](QWidget* box) {
                auto* dialog = qobject_cast<QFileDialog*>(box);
                QVERIFY(dialog != nullptr && dialog->testOption(QFileDialog::DontUseNativeDialog));
                auto* types = dialog->findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
                QCOMPARE(dialog->findChild<QLabel*>(QStringLiteral("lookInLabel"))->text(),
                         QStringLiteral("Voir dans :"));
                seen->clear();
                for (int i = 0; i < types->count(); ++i)
                    *seen << types->itemText(i);
                *seen << QString::number(types->currentIndex());
                if (filter >= 0)
                    types->setCurrentIndex(filter);
                dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(name);
                static_cast<QDialog*>(dialog)->accept(); // QFileDialog::accept, protected
            });
        };

        answer(chosen, 1);
        FileDialogResult result = service.showOpen(QString(), filters::open());
        QCOMPARE(*seen, QStringList(
                            {"Fichier de points XYZ [*.*]", "Fichier d'échange DXF [*.dxf]", "0"}));
        QCOMPARE(result.fileName, chosen);
        QCOMPARE(result.fileTitle, QStringLiteral("plan.dxf"));
        QCOMPARE(result.filterIndex, 2);

        answer(chosen, -1);
        result = service.showOpen(QString(), filters::open());
        QCOMPARE(seen->last(), QStringLiteral("1"));
        QCOMPARE(result.filterIndex, 2);
    }

private:
    QTranslator* french_ = nullptr;
};

TOVALIN_TEST(TestQtDialogs)
#include "tst_QtDialogs.moc"
