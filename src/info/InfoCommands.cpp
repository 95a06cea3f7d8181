#include "info/InfoCommands.h"

#include "info/InfoTexts.h"
#include "info/InfoWindows.h"
#include "platform/CommandRunner.h"
#include "platform/Shell.h"
#include "state/GestionDonnee.h"
#include "state/MainWindowHost.h"

#include <QAction>
#include <QPointer>
#include <memory>

namespace {

// Shows the open window, or a new one; the windows are modeless.
template <typename Window, typename Make> void showSingle(QPointer<Window>& window, Make make) {
    if (window.isNull()) {
        window = make();
        window->setAttribute(Qt::WA_DeleteOnClose);
    }
    window->show();
    window->raise();
    window->activateWindow();
}

void onItem(MainWindowHost& window, const char* name, std::function<void()> command) {
    if (QAction* item = window.menuItem(QString::fromLatin1(name)))
        QObject::connect(item, &QAction::triggered, window.widget(),
                         platform::Guarded(window.services().messages, std::move(command)));
}

} // namespace

void InstallInfoCommands(MainWindowHost& window, platform::ShellService& shell,
                         const QString& programFolder) {
    MainWindowHost* host = &window;
    QWidget* mainWindow = window.widget();
    platform::ShellService* shellService = &shell;

    const auto help = std::make_shared<QPointer<frmAide>>();
    const auto about = std::make_shared<QPointer<Form4>>();
    const auto history = std::make_shared<QPointer<frmHistorique>>();
    const auto mail = std::make_shared<QPointer<frmMail>>();

    // Also called from the about box's links and button: guarded there too.
    const auto openMail =
        platform::Guarded(host->services().messages, [host, mainWindow, shellService, mail] {
            showSingle(*mail, [&] {
                return new frmMail(host->state().SupportAddress, *shellService,
                                   host->services().messages, mainWindow);
            });
        });
    const auto openHistory =
        platform::Guarded(host->services().messages, [mainWindow, programFolder, history] {
            showSingle(*history, [&] { return new frmHistorique(programFolder, mainWindow); });
        });

    onItem(window, "help", [host, mainWindow, programFolder, shellService, help] {
        showSingle(*help, [&] {
            return new frmAide(programFolder, *shellService, host->services().messages, mainWindow);
        });
    });
    onItem(window, "apropos", [host, mainWindow, shellService, about, openMail, openHistory] {
        showSingle(*about, [&] {
            return new Form4(host->state().WebSiteAddress, host->state().SupportAddress,
                             *shellService, host->services().messages, openMail, openHistory,
                             mainWindow);
        });
    });
    onItem(window, "mnu_lien_site",
           [host, shellService] { shellService->open(QUrl(host->state().WebSiteAddress)); });
    onItem(window, "mnu_Internet_Maj",
           [shellService] { shellService->open(QUrl(UpdatePageAddress())); });
    onItem(window, "EnvMail", openMail);
}
