#include "TestRunner.h"
#include "WindowFixture.h"

#include "info/InfoCommands.h"
#include "info/InfoWindows.h"
#include "platform/Shell.h"

#include <QDir>
#include <QFileInfo>
#include <QPushButton>
#include <QSet>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextDocument>

using namespace testing;

namespace {

// The help as it ships, and as the build puts it beside the program.
QString shippedFolder() {
    return QDir::cleanPath(QStringLiteral(TOVALIN_TEST_DATA "/../../resources"));
}
QString besideProgram() {
    return QStringLiteral(TOVALIN_BINARY_DIR "/bin");
}

// Every link and picture of a page, as Qt's HTML reader sees them.
struct PageRefs {
    QStringList links;
    QStringList pictures;
};
PageRefs refsOf(const QString& fileName) {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QTextDocument document;
    document.setHtml(QString::fromUtf8(file.readAll()));
    PageRefs refs;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            if (format.isAnchor() && !format.anchorHref().isEmpty())
                refs.links << format.anchorHref();
            if (format.isImageFormat())
                refs.pictures << format.toImageFormat().name();
        }
    }
    return refs;
}

bool isWeb(const QUrl& url) {
    return url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https") ||
           url.scheme() == QLatin1String("mailto");
}

} // namespace

class HelpTest : public QObject {
    Q_OBJECT

private slots:
    void everyPageReachableAndNoBrokenLink() {
        const QDir folder(shippedFolder() + QStringLiteral("/Aide"));
        const QString start = folder.filePath(QStringLiteral("Index.html"));
        QVERIFY2(QFileInfo(start).isFile(), qPrintable(start));
        QSet<QString> seen{QFileInfo(start).canonicalFilePath()};
        QStringList queue{start};
        QStringList broken;
        while (!queue.isEmpty()) {
            const QString page = queue.takeFirst();
            const QUrl base = QUrl::fromLocalFile(page);
            const PageRefs refs = refsOf(page);
            QVERIFY2(!refs.links.isEmpty(), qPrintable(page + QStringLiteral(": no link")));
            for (const QString& picture : refs.pictures) {
                if (!QFileInfo(base.resolved(QUrl(picture)).toLocalFile()).isFile())
                    broken << page + QStringLiteral(" -> ") + picture;
            }
            for (const QString& link : refs.links) {
                const QUrl url = base.resolved(QUrl(link));
                if (isWeb(url))
                    continue;
                const QFileInfo target(url.adjusted(QUrl::RemoveFragment).toLocalFile());
                if (!target.isFile()) {
                    broken << page + QStringLiteral(" -> ") + link;
                    continue;
                }
                if (target.suffix() == QLatin1String("html") &&
                    !seen.contains(target.canonicalFilePath())) {
                    seen.insert(target.canonicalFilePath());
                    queue << target.filePath();
                }
            }
        }
        QVERIFY2(broken.isEmpty(), qPrintable(broken.join(QLatin1Char('\n'))));
        const QStringList pages = folder.entryList({QStringLiteral("*.html")}, QDir::Files);
        QVERIFY(pages.size() >= 15);
        QStringList unreachable;
        for (const QString& page : pages)
            if (!seen.contains(QFileInfo(folder.filePath(page)).canonicalFilePath()))
                unreachable << page;
        QVERIFY2(unreachable.isEmpty(), qPrintable(unreachable.join(QLatin1Char(' '))));
    }

    void buildPutsHelpAndHistoryBesideProgram() {
        for (const char* name : {"Aide/Index.html", "Aide/supprimer.html", "historique.txt"})
            QVERIFY2(QFileInfo(besideProgram() + QLatin1Char('/') + QLatin1String(name)).isFile(),
                     name);
    }

    void browsesBackAndForth() {
        platform::RecordingShell shell;
        platform::ScriptedDialogs boxes;
        frmAide help(shippedFolder(), shell, boxes);
        help.show();
        QCOMPARE(help.windowTitle(), QStringLiteral("Aide de Tovalin"));
        QTextBrowser* browser = help.browser();
        QCOMPARE(browser->objectName(), QStringLiteral("WebBrowser"));
        QCOMPARE(browser->documentTitle(), QStringLiteral("Aide de Tovalin"));
        auto* back = child<QPushButton>(&help, "Precedent");
        auto* forward = child<QPushButton>(&help, "Suivant");
        QVERIFY(!back->isEnabled() && !forward->isEnabled());

        emit browser->anchorClicked(QUrl(QStringLiteral("supprimer.html")));
        QCOMPARE(browser->documentTitle(), QStringLiteral("Supprimer le point"));
        QVERIFY(browser->toPlainText().contains(QStringLiteral("revient")));
        emit browser->anchorClicked(QUrl(QStringLiteral("enregistrer.html")));
        QCOMPARE(browser->documentTitle(), QStringLiteral("Enregistrer"));
        QVERIFY(back->isEnabled());
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

    void missingStartPageShowsOwnErrorPage() {
        Fixture f;
        f.trigger("help");
        frmAide* help = nullptr;
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (auto* found = dynamic_cast<frmAide*>(widget); found && found->isVisible())
                help = found;
        QVERIFY(help);
        const QString text = help->browser()->toPlainText();
        QVERIFY2(text.contains(QStringLiteral("Page introuvable")), qPrintable(text));
        QVERIFY(text.contains(
            QDir::toNativeSeparators(f.dir.filePath(QStringLiteral("Aide/Index.html")))));
        QVERIFY(f.boxes.boxes().empty());
        QVERIFY(f.shell.opened.isEmpty());
        help->close();
    }

private:
    struct Fixture : WindowFixture {
        platform::RecordingShell shell;
        Fixture() { InstallInfoCommands(window, shell, dir.path()); }
    };
};

TOVALIN_TEST(HelpTest)
#include "tst_Help.moc"
