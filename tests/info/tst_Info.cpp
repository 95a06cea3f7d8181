#include "ProgramFixture.h"
#include "TestRunner.h"

#include "info/InfoTexts.h"
#include "info/InfoWindows.h"

#include <QDir>
#include <QFileInfo>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QSet>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextDocument>
#include <QUrlQuery>

using namespace testing;

namespace {

// The help and the history as the build puts them beside the program.
const QString besideProgram = QStringLiteral(TOVALIN_BINARY_DIR "/bin");

// Every link and picture of a page, as Qt's HTML reader sees them.
QStringList refsOf(const QString& fileName) {
    QFile file(fileName);
    QTextDocument document;
    if (file.open(QIODevice::ReadOnly))
        document.setHtml(QString::fromUtf8(file.readAll()));
    QStringList refs;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            if (format.isAnchor() && !format.anchorHref().isEmpty())
                refs << format.anchorHref();
            if (format.isImageFormat())
                refs << format.toImageFormat().name();
        }
    }
    return refs;
}

void moveOver(QWidget* widget, QPoint at) {
    QMouseEvent move(QEvent::MouseMove, at, widget->mapToGlobal(at), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QApplication::sendEvent(widget, &move);
}

// "lit" (pure blue and underlined), "plain" (black) or "?".
QString look(const QLabel* label) {
    const QColor color = label->palette().color(QPalette::WindowText);
    if (color == QColor(0, 0, 255) && label->font().underline())
        return QStringLiteral("lit");
    return color == QColor(0, 0, 0) && !label->font().underline() ? QStringLiteral("plain")
                                                                  : QStringLiteral("?");
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
        QCOMPARE(child<QLabel>(&splash, "Label1")->text(),
                 QStringLiteral("Version " TOVALIN_VERSION_TEXT));
        QCOMPARE(SplashVersionText({2, 3, 10}), QStringLiteral("Version 2.3.10"));
        QTest::qWait(1200);
        QCOMPARE(shown, 0);
        QTRY_COMPARE_WITH_TIMEOUT(shown, 1, 1000);
        QVERIFY(!splash.isVisible());
        QTest::qWait(1700);
        QCOMPARE(shown, 1);
    }

    // Every page of the help beside the program is reached from the start
    // page, and no link or picture of them is broken.
    void shippedBesideProgram() {
        const QDir folder(besideProgram + QStringLiteral("/Aide"));
        QStringList queue{folder.filePath(QStringLiteral("Index.html"))};
        QSet<QString> seen{QFileInfo(queue.front()).canonicalFilePath()};
        QVERIFY2(QFileInfo(queue.front()).isFile(), qPrintable(queue.front()));
        QStringList broken;
        while (!queue.isEmpty()) {
            const QString page = queue.takeFirst();
            const QStringList refs = refsOf(page);
            QVERIFY2(!refs.isEmpty(), qPrintable(page + QStringLiteral(": no link")));
            for (const QString& ref : refs) {
                const QUrl url = QUrl::fromLocalFile(page).resolved(QUrl(ref));
                if (!url.isLocalFile()) // the web and mail addresses
                    continue;
                const QFileInfo target(url.adjusted(QUrl::RemoveFragment).toLocalFile());
                if (!target.isFile())
                    broken << page + QStringLiteral(" -> ") + ref;
                else if (target.suffix() == u"html" && !seen.contains(target.canonicalFilePath())) {
                    seen.insert(target.canonicalFilePath());
                    queue << target.filePath();
                }
            }
        }
        QVERIFY2(broken.isEmpty(), qPrintable(broken.join(u'\n')));
        const QStringList pages = folder.entryList({QStringLiteral("*.html")}, QDir::Files);
        QVERIFY(pages.size() >= 15);
        for (const QString& page : pages)
            QVERIFY2(seen.contains(QFileInfo(folder.filePath(page)).canonicalFilePath()),
                     qPrintable(page));
        QVERIFY(!HistoryText(besideProgram + QStringLiteral("/historique.txt")).isEmpty());
    }

    void helpBrowsesBackAndForth() {
        platform::RecordingShell shell;
        platform::ScriptedDialogs boxes;
        frmAide help(besideProgram, shell, boxes);
        help.show();
        QCOMPARE(help.windowTitle(), QStringLiteral("Aide de Tovalin"));
        auto* browser = child<QTextBrowser>(&help, "WebBrowser");
        auto* back = child<QPushButton>(&help, "Precedent");
        auto* forward = child<QPushButton>(&help, "Suivant");
        QVERIFY(!back->isEnabled() && !forward->isEnabled());
        emit browser->anchorClicked(QUrl(QStringLiteral("supprimer.html")));
        emit browser->anchorClicked(QUrl(QStringLiteral("enregistrer.html")));
        QCOMPARE(browser->documentTitle(), QStringLiteral("Enregistrer"));
        back->click();
        QCOMPARE(browser->documentTitle(), QStringLiteral("Supprimer le point"));
        back->click();
        QCOMPARE(browser->documentTitle(), QStringLiteral("Aide de Tovalin"));
        QVERIFY(!back->isEnabled() && forward->isEnabled());
        forward->click();
        QCOMPARE(browser->documentTitle(), QStringLiteral("Supprimer le point"));
        child<QPushButton>(&help, "Sommaire")->click();
        QCOMPARE(browser->documentTitle(), QStringLiteral("Aide de Tovalin"));
        // The web goes to the desktop's browser; the page stays.
        const QUrl site(QStringLiteral("https://www.example.org/tovalin/"));
        emit browser->anchorClicked(site);
        QCOMPARE(shell.opened, QList<QUrl>{site});
        QCOMPARE(browser->documentTitle(), QStringLiteral("Aide de Tovalin"));
    }

    void aboutBoxAndLinks() {
        ProgramFixture f;
        f.trigger("apropos");
        QWidget* about = f.topLevel(QStringLiteral("Form4"));
        QVERIFY(about);
        QStringList texts{about->windowTitle(), child<QGroupBox>(about, "Frame1")->title()};
        for (const char* name : {"Label1", "Label4", "Label3", "Label2"})
            texts << child<QLabel>(about, name)->text();
        for (const char* name : {"Command2", "Command1"})
            texts << child<QPushButton>(about, name)->text();
        QCOMPARE(texts, QStringList({"A propos", "Informations",
                                     "Version " TOVALIN_VERSION_TEXT " du 14 novembre 2004",
                                     "Conçu et écrit par l'équipe Tovalin", "Site : site",
                                     "Email : mail", "Historique des mises à jour", "Ok"}));
        QCOMPARE(AboutVersionText({2, 3, 10}),
                 QStringLiteral("Version 2.3.10 du 14 novembre 2004"));
        QVERIFY(!child<QLabel>(about, "Image2")->pixmap().isNull());
        auto* notice = child<QPlainTextEdit>(about, "Text1");
        QVERIFY(notice->isReadOnly());
        const QStringList lines = notice->toPlainText().split(u'\n');
        for (const char* line :
             {"Ce logiciel est livré \"Tel quel\"",
              "En aucun cas la résponsabilité de l'auteur ne pourra",
              "être mise en cause pour les dysfonctionnement", "que ce logiciel pourrait causer.",
              "Pour toutes informations ou problèmes", "contactez moi par email à : mail"})
            QVERIFY2(lines.contains(QString::fromUtf8(line)), line);

        // The links light up under the mouse.
        QVERIFY(QTest::qWaitForWindowExposed(about));
        auto* site = child<QLabel>(about, "Label3");
        auto* mail = child<QLabel>(about, "Label2");
        const auto looks = [&] { return look(site) + u' ' + look(mail); };
        QCOMPARE(looks(), QStringLiteral("plain plain"));
        moveOver(site, {2, 2});
        QCOMPARE(looks(), QStringLiteral("lit plain"));
        // Straight onto the other label, or over another control: the first stays lit.
        moveOver(mail, {2, 2});
        moveOver(about, notice->mapTo(about, notice->rect().center()));
        QCOMPARE(looks(), QStringLiteral("lit lit"));
        // Over the background: both black again.
        const QPoint bare = background(about);
        QVERIFY(bare.x() >= 0);
        moveOver(about, bare);
        QCOMPARE(looks(), QStringLiteral("plain plain"));

        QTest::mouseClick(site, Qt::LeftButton);
        QCOMPARE(f.shell.opened, QList<QUrl>{QUrl(QStringLiteral("site"))});
        QVERIFY(!f.topLevel(QStringLiteral("frmMail")));
        QTest::mouseClick(mail, Qt::LeftButton);
        QVERIFY(f.topLevel(QStringLiteral("frmMail")));
        QCOMPARE(f.shell.opened.size(), 1);
        child<QPushButton>(about, "Command1")->click();
        QVERIFY(!about->isVisible());

        // Chosen again and again, each command shows its one window again.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        for (const char* item : {"apropos", "help", "apropos", "help"})
            f.trigger(item);
        for (const char* name : {"Form4", "frmAide"})
            QVERIFY2(f.window.findChildren<QWidget*>(QString::fromLatin1(name)).size() == 1, name);
        f.topLevel(QStringLiteral("Form4"))->hide();
        f.trigger("apropos");
        QVERIFY(f.topLevel(QStringLiteral("Form4")));
        // No help beside this program: the help window shows a page of its own.
        const QString text =
            dynamic_cast<frmAide*>(f.topLevel(QStringLiteral("frmAide")))->browser()->toPlainText();
        QVERIFY2(text.contains(QStringLiteral("Page introuvable")) &&
                     text.contains(QDir::toNativeSeparators(
                         f.dir.filePath(QStringLiteral("Aide/Index.html")))),
                 qPrintable(text));
        // The site and the update page from the menu.
        f.trigger("mnu_lien_site");
        f.trigger("mnu_Internet_Maj");
        QCOMPARE(f.shell.opened,
                 (QList<QUrl>{QUrl(QStringLiteral("site")), QUrl(QStringLiteral("site")),
                              QUrl(QStringLiteral("https://www.example.org/tovalin/"
                                                  "mise-a-jour.html"))}));
        QVERIFY(f.boxes.boxes().empty());
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
    }
    void history() {
        QFETCH(QByteArray, file);
        QFETCH(QString, text);
        ProgramFixture f;
        const QString name = f.dir.filePath(QStringLiteral("historique.txt"));
        if (!file.isNull())
            writeBytes(name, file);
        QCOMPARE(HistoryText(name), text);

        f.trigger("apropos");
        child<QPushButton>(f.topLevel(QStringLiteral("Form4")), "Command2")->click();
        QWidget* window = f.topLevel(QStringLiteral("frmHistorique"));
        QVERIFY(window);
        QCOMPARE(window->windowTitle(), QStringLiteral("Historique des mises à jour"));
        QCOMPARE(child<QPlainTextEdit>(window, "Text1")->toPlainText(),
                 QString(text).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
        QVERIFY(f.boxes.boxes().empty());
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
        QCOMPARE(
            SystemReport(QStringLiteral("Debian GNU/Linux 12"), QStringLiteral("6.1.0"),
                         8ULL * 1024 * 1024 * 1024),
            QStringLiteral("Système : Debian GNU/Linux 12 (version 6.1.0)\r\nMémoire : 8192 Mo"));
        // This machine's: a name and a memory size of some megabytes.
        QVERIFY(SystemReport().contains(
            QRegularExpression(QStringLiteral("Mémoire : [1-9][0-9]* Mo$"))));
        ProgramFixture f;
        f.state.SupportAddress = QStringLiteral("support@example.org");
        f.shell.handled = handled;
        f.trigger("EnvMail");
        QWidget* mail = f.topLevel(QStringLiteral("frmMail"));
        QVERIFY(mail);
        child<QLineEdit>(mail, "Text1")->setText(QStringLiteral("Problème & calque = ?"));
        child<QPlainTextEdit>(mail, "Text2")->setPlainText(QStringLiteral("Bonjour,\nça plante."));
        QCOMPARE(child<QPushButton>(mail, "Command1")->text(), QStringLiteral("Envoyer"));
        child<QPushButton>(mail, "Command1")->click();
        QCOMPARE(f.shell.opened.size(), 1);
        // "&", "=" and "?" of the subject and the body are escaped; the line
        // breaks go as CR LF, then the system's report.
        const QByteArray sent = f.shell.opened.front().toEncoded();
        QVERIFY2(sent.startsWith("mailto:support@example.org?subject=Probl%C3%A8me%20%26%20calque"
                                 "%20%3D%20%3F&body=Bonjour%2C%0D%0A%C3%A7a%20plante.%0D%0A"),
                 sent.constData());
        QVERIFY(QUrlQuery(f.shell.opened.front())
                    .queryItemValue(QStringLiteral("body"), QUrl::FullyDecoded)
                    .endsWith(SystemReport()));
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
};

TOVALIN_TEST(InfoTest)
#include "tst_Info.moc"
