#include "TestRunner.h"
#include "WindowFixture.h"

#include "info/InfoCommands.h"
#include "info/InfoTexts.h"
#include "info/InfoWindows.h"
#include "platform/Shell.h"

#include "platform/NumberText.h"
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QTextBrowser>
#include <QTimer>
#include <QUrlQuery>

using namespace testing;

namespace {

// The main window with the information commands, the help and history
// files written into its program folder by each test.
struct Fixture : WindowFixture {
    platform::RecordingShell shell;
    Fixture() {
        state.WebSiteAddress = QStringLiteral("https://www.example.org/tovalin/");
        state.SupportAddress = QStringLiteral("support@example.org");
        InstallInfoCommands(window, shell, dir.path());
    }
    template <typename W> W* topLevel(const char* name) const {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (widget->objectName() == QLatin1String(name) && widget->isVisible())
                return dynamic_cast<W*>(widget);
        return nullptr;
    }
    ~Fixture() {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (widget != &window && widget->isVisible())
                widget->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
};

void moveOver(QWidget* widget, QPoint at) {
    QMouseEvent move(QEvent::MouseMove, at, widget->mapToGlobal(at), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QApplication::sendEvent(widget, &move);
}

void click(QWidget* widget) {
    const QPoint at = widget->rect().center();
    QTest::mouseClick(widget, Qt::LeftButton, Qt::NoModifier, at);
}

bool lit(const QLabel* label) {
    return label->palette().color(QPalette::WindowText) == QColor(0, 0, 255) &&
           label->font().underline();
}
bool black(const QLabel* label) {
    return label->palette().color(QPalette::WindowText) == QColor(0, 0, 0) &&
           !label->font().underline();
}

// A point of the window's own background, off every control.
QPoint background(QWidget* window) {
    for (int y = 0; y < window->height(); y += 2)
        for (int x = 0; x < window->width(); x += 2)
            if (!window->childAt(x, y))
                return {x, y};
    return {-1, -1};
}

} // namespace

class InfoTest : public QObject {
    Q_OBJECT

private slots:
    void splashShowsMainWindowOnce() {
        int shown = 0;
        frmIntro splash([&shown] { ++shown; });
        splash.show();
        const auto* timer = splash.findChild<QTimer*>(QStringLiteral("Timer1"));
        QVERIFY(timer);
        QCOMPARE(timer->interval(), 1500);
        QTest::qWait(1200);
        QCOMPARE(shown, 0);
        QTRY_COMPARE_WITH_TIMEOUT(shown, 1, 1000);
        QVERIFY(!splash.isVisible());
        QTest::qWait(1700);
        QCOMPARE(shown, 1);
    }

    void versionTexts() {
        const platform::ProgramVersion v = platform::programVersion();
        using platform::DefaultText;
        const QString three = DefaultText(v.major) + QLatin1Char('.') + DefaultText(v.minor) +
                              QLatin1Char('.') + DefaultText(v.revision);
        QCOMPARE(SplashVersionText({2, 3, 0}), QStringLiteral("Version 2.3.0"));
        QCOMPARE(AboutVersionText({2, 3, 10}),
                 QStringLiteral("Version 2.3.10 du 14 novembre 2004"));

        frmIntro splash([] {});
        QCOMPARE(child<QLabel>(&splash, "Label1")->text(), QStringLiteral("Version ") + three);
        Fixture f;
        f.trigger("apropos");
        Form4* about = f.topLevel<Form4>("Form4");
        QVERIFY(about);
        QCOMPARE(child<QLabel>(about, "Label1")->text(),
                 QStringLiteral("Version ") + three + QStringLiteral(" du 14 novembre 2004"));
    }

    void aboutBoxTexts() {
        Fixture f;
        f.trigger("apropos");
        Form4* about = f.topLevel<Form4>("Form4");
        QVERIFY(about);
        QCOMPARE(about->windowTitle(), QStringLiteral("A propos"));
        QCOMPARE(child<QLabel>(about, "Label3")->text(),
                 QStringLiteral("Site : https://www.example.org/tovalin/"));
        QCOMPARE(child<QLabel>(about, "Label2")->text(),
                 QStringLiteral("Email : support@example.org"));
        QCOMPARE(child<QLabel>(about, "Label4")->text(),
                 QStringLiteral("Conçu et écrit par l'équipe Tovalin"));
        QVERIFY(!child<QLabel>(about, "Image2")->pixmap().isNull());
        QCOMPARE(child<QGroupBox>(about, "Frame1")->title(), QStringLiteral("Informations"));
        QCOMPARE(child<QPushButton>(about, "Command2")->text(),
                 QStringLiteral("Historique des mises à jour"));
        QCOMPARE(child<QPushButton>(about, "Command1")->text(), QStringLiteral("Ok"));
        const QString notice = child<QPlainTextEdit>(about, "Text1")->toPlainText();
        const QStringList lines = notice.split(QLatin1Char('\n'));
        QVERIFY(child<QPlainTextEdit>(about, "Text1")->isReadOnly());
        for (const char* line :
             {"Ce logiciel est livré \"Tel quel\"",
              "En aucun cas la résponsabilité de l'auteur ne pourra",
              "être mise en cause pour les dysfonctionnement", "que ce logiciel pourrait causer.",
              "Pour toutes informations ou problèmes",
              "contactez moi par email à : support@example.org"})
            QVERIFY2(lines.contains(QString::fromUtf8(line)), line);
        QVERIFY(AboutNotice(QStringLiteral("x")).contains(QStringLiteral("\r\n")));

        click(child<QPushButton>(about, "Command1"));
        QVERIFY(!about->isVisible());

        // Chosen again and again, each command shows its one window again.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        for (const char* item : {"apropos", "help", "apropos", "help"})
            f.trigger(item);
        for (const char* name : {"Form4", "frmAide"}) {
            int shown = 0;
            for (QWidget* widget : QApplication::topLevelWidgets())
                shown += widget->objectName() == QLatin1String(name) && widget->isVisible();
            QVERIFY2(shown == 1, name);
        }
        f.topLevel<Form4>("Form4")->hide();
        f.trigger("apropos");
        QVERIFY(f.topLevel<Form4>("Form4"));
    }

    void aboutBoxHoverAndClicks() {
        Fixture f;
        f.trigger("apropos");
        Form4* about = f.topLevel<Form4>("Form4");
        QVERIFY(about);
        QVERIFY(QTest::qWaitForWindowExposed(about));
        auto* site = child<QLabel>(about, "Label3");
        auto* mail = child<QLabel>(about, "Label2");
        QVERIFY(black(site) && black(mail));

        moveOver(site, {2, 2});
        QVERIFY(lit(site));
        QVERIFY(black(mail));
        // Straight onto the other label: the first stays lit.
        moveOver(mail, {2, 2});
        QVERIFY(lit(site) && lit(mail));
        // Over another control of the window: nothing changes.
        auto* notice = child<QPlainTextEdit>(about, "Text1");
        moveOver(about, notice->mapTo(about, notice->rect().center()));
        QVERIFY(lit(site) && lit(mail));
        // Over the background: both black again.
        const QPoint bare = background(about);
        QVERIFY(bare.x() >= 0);
        moveOver(about, bare);
        QVERIFY(black(site) && black(mail));

        click(site);
        QCOMPARE(f.shell.opened,
                 QList<QUrl>{QUrl(QStringLiteral("https://www.example.org/tovalin/"))});
        QVERIFY(!f.topLevel<frmMail>("frmMail"));
        click(mail);
        QVERIFY(f.topLevel<frmMail>("frmMail"));
        QCOMPARE(f.shell.opened.size(), 1);

        click(child<QPushButton>(about, "Command2"));
        auto* history = f.topLevel<frmHistorique>("frmHistorique");
        QVERIFY(history);
        QCOMPARE(history->windowTitle(), QStringLiteral("Historique des mises à jour"));
    }

    void history_data() {
        QTest::addColumn<QByteArray>("file"); // null: no file
        QTest::addColumn<QString>("text");
        QTest::newRow("missing") << QByteArray() << QString();
        QTest::newRow("empty") << QByteArray("") << QString();
        QTest::newRow("last line without break")
            << QByteArray("1.0 : d\xe9"
                          "but\r\n\r\n1.1 : fin")
            << QStringLiteral("1.0 : début\r\n\r\n1.1 : fin\r\n");
        QTest::newRow("last line with break")
            << QByteArray("a\r\nb\r\n") << QStringLiteral("a\r\nb\r\n");
    }
    void history() {
        QFETCH(QByteArray, file);
        QFETCH(QString, text);
        Fixture f;
        const QString name = f.dir.filePath(QStringLiteral("historique.txt"));
        if (!file.isNull())
            writeBytes(name, file);
        QCOMPARE(HistoryText(name), text);

        f.trigger("apropos");
        Form4* about = f.topLevel<Form4>("Form4");
        click(child<QPushButton>(about, "Command2"));
        auto* window = f.topLevel<frmHistorique>("frmHistorique");
        QVERIFY(window);
        QString shown = text;
        shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
        QCOMPARE(child<QPlainTextEdit>(window, "Text1")->toPlainText(), shown);
        QVERIFY(f.boxes.boxes().empty());
    }

    void webLinks() {
        Fixture f;
        f.trigger("mnu_lien_site");
        f.trigger("mnu_Internet_Maj");
        QCOMPARE(f.shell.opened,
                 (QList<QUrl>{QUrl(QStringLiteral("https://www.example.org/tovalin/")),
                              QUrl(UpdatePageAddress())}));
        QVERIFY(QUrl(UpdatePageAddress()).isValid());
    }

    void mailtoEscapes_data() {
        QTest::addColumn<QString>("subject");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QByteArray>("encoded");
        QTest::newRow("accents") << QStringLiteral("Problème") << QStringLiteral("Merci, à bientôt")
                                 << QByteArray("mailto:support@example.org?subject=Probl%C3%A8me"
                                               "&body=Merci%2C%20%C3%A0%20bient%C3%B4t");
        QTest::newRow("ampersand and question mark")
            << QStringLiteral("X & Y?") << QStringLiteral("a=1&b=2?")
            << QByteArray("mailto:support@example.org?subject=X%20%26%20Y%3F"
                          "&body=a%3D1%26b%3D2%3F");
        QTest::newRow("line breaks")
            << QString() << QStringLiteral("l1\r\nl2")
            << QByteArray("mailto:support@example.org?subject=&body=l1%0D%0Al2");
    }
    void mailtoEscapes() {
        QFETCH(QString, subject);
        QFETCH(QString, body);
        QFETCH(QByteArray, encoded);
        const QUrl url = MailtoAddress(QStringLiteral("support@example.org"), subject, body);
        QVERIFY(url.isValid());
        QCOMPARE(url.toEncoded(), encoded);
        QCOMPARE(url.scheme(), QStringLiteral("mailto"));
        QCOMPARE(url.path(), QStringLiteral("support@example.org"));
        const QUrlQuery query(url);
        QCOMPARE(query.queryItemValue(QStringLiteral("subject"), QUrl::FullyDecoded), subject);
        QCOMPARE(query.queryItemValue(QStringLiteral("body"), QUrl::FullyDecoded), body);
    }

    // Handed to the mail program, or, with none to take it, kept in the
    // window with a word on how to send it.
    void mailWindowSends_data() {
        QTest::addColumn<bool>("handled");
        QTest::newRow("a mail program takes it") << true;
        QTest::newRow("no mail program") << false;
    }
    void mailWindowSends() {
        QFETCH(bool, handled);
        Fixture f;
        f.shell.handled = handled;
        f.trigger("EnvMail");
        auto* mail = f.topLevel<frmMail>("frmMail");
        QVERIFY(mail);
        child<QLineEdit>(mail, "Text1")->setText(QStringLiteral("Fichier DXF & calque ?"));
        child<QPlainTextEdit>(mail, "Text2")->setPlainText(QStringLiteral("Bonjour,\nça plante."));
        QCOMPARE(child<QPushButton>(mail, "Command1")->text(), QStringLiteral("Envoyer"));
        click(child<QPushButton>(mail, "Command1"));
        QCOMPARE(f.shell.opened.size(), 1);
        const QUrl url = f.shell.opened.front();
        const QUrlQuery query(url);
        QCOMPARE(url.path(), QStringLiteral("support@example.org"));
        QCOMPARE(query.queryItemValue(QStringLiteral("subject"), QUrl::FullyDecoded),
                 QStringLiteral("Fichier DXF & calque ?"));
        const QString body = query.queryItemValue(QStringLiteral("body"), QUrl::FullyDecoded);
        QVERIFY2(body.startsWith(QStringLiteral("Bonjour,\r\nça plante.\r\n")), qPrintable(body));
        QVERIFY(body.endsWith(SystemReport()));
        QCOMPARE(mail->isVisible(), !handled);
        if (handled) {
            QVERIFY(f.boxes.boxes().empty());
            return;
        }
        QCOMPARE(child<QPlainTextEdit>(mail, "Text2")->toPlainText(),
                 QStringLiteral("Bonjour,\nça plante."));
        QCOMPARE(shownBoxes(f.boxes),
                 QStringList{"Envoyer un mail à l'auteur: Aucun programme de messagerie n'a "
                             "répondu : le message n'a pas été envoyé.\r\nIl est resté dans la "
                             "fenêtre. Copiez-le et envoyez-le depuis votre messagerie à "
                             "l'adresse support@example.org. [information ok]"});
    }

    void systemReport() {
        QCOMPARE(
            SystemReport(QStringLiteral("Debian GNU/Linux 12"), QStringLiteral("6.1.0"),
                         8ULL * 1024 * 1024 * 1024),
            QStringLiteral("Système : Debian GNU/Linux 12 (version 6.1.0)\r\nMémoire : 8192 Mo"));
        // This machine's: a name and a memory size of some megabytes.
        QVERIFY(SystemReport().contains(
            QRegularExpression(QStringLiteral("Mémoire : [1-9][0-9]* Mo$"))));
    }
};

TOVALIN_TEST(InfoTest)
#include "tst_Info.moc"
