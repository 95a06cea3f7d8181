#include "editing/NumberingCommands.h"

#include "editing/Form5.h"
#include "editing/FormatDonnee.h"
#include "platform/CommandRunner.h"
#include "state/MainWindowHost.h"

#include <QAction>
#include <QPointer>
#include <memory>

namespace {

// Shows the open dialog, or a new one: a dialog closed with its close box is
// gone, and the next one starts from its defaults again.
template <typename Dialog, typename Make> void showSingle(QPointer<Dialog>& dialog, Make make) {
    if (dialog.isNull()) {
        dialog = make();
        dialog->setAttribute(Qt::WA_DeleteOnClose);
    }
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

} // namespace

void InstallNumberingAndFormatCommands(MainWindowHost& window) {
    MainWindowHost* host = &window;
    QWidget* mainWindow = window.widget();
    // The main window's run: the error report, and no other command from its
    // menu while a run goes on.
    const auto runner = [host](const std::function<void()>& command) { host->run(command); };

    // One dialog of each at a time; the connections own these.
    const auto numbering = std::make_shared<QPointer<Form5>>();
    const auto format = std::make_shared<QPointer<FormatDonnee>>();

    if (QAction* item = window.menuItem(QStringLiteral("MnuImmatriculation"))) {
        QObject::connect(
            item, &QAction::triggered, mainWindow,
            platform::Guarded(host->services().messages, [host, mainWindow, runner, numbering] {
                showSingle(*numbering, [&] {
                    return new Form5(host->state(), host->services().messages, runner, mainWindow);
                });
            }));
    }
    if (QAction* item = window.menuItem(QStringLiteral("Mnu_Format"))) {
        QObject::connect(
            item, &QAction::triggered, mainWindow,
            platform::Guarded(host->services().messages, [host, mainWindow, runner, format] {
                showSingle(*format, [&] {
                    return new FormatDonnee(host->state(), host->services().settings,
                                            host->services().messages, runner, mainWindow);
                });
            }));
    }
}
