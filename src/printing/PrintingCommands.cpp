#include "printing/PrintingCommands.h"

#include "platform/CommandRunner.h"
#include "platform/GuiProgress.h"
#include "printing/Form6.h"
#include "state/GestionDonnee.h"
#include "state/MainWindowHost.h"

#include <QAction>
#include <QPointer>
#include <memory>

void InstallPrintingCommands(MainWindowHost& window, platform::PrinterService& printer) {
    QAction* item = window.menuItem(QStringLiteral("print"));
    if (item == nullptr)
        return;
    auto open = std::make_shared<QPointer<Form6>>();
    QObject::connect(
        item, &QAction::triggered, window.widget(),
        platform::Guarded(window.services().messages, [&window, &printer, open] {
            // An empty list: nothing at all, not even a message.
            if (window.state().Grid.rows() <= 1)
                return;
            if (!open->isNull() && (*open)->isVisible()) {
                (*open)->raise();
                (*open)->activateWindow();
                return;
            }
            const Services& services = window.services();
            auto runCommand = [&window](const std::function<void()>& step) {
                return window.run(step);
            };
            // The lines sent are counted in the main window's caption, which
            // gets its own text back at the end.
            auto runPrint = [&window](const std::function<void(platform::Progress&)>& print) {
                QWidget* main = window.widget();
                const QString caption = main->windowTitle();
                window.run([&] {
                    platform::GuiProgress progress(
                        [&window](const QString& text) { window.setCaption(text); });
                    print(progress);
                });
                window.setCaption(caption);
            };
            window.run([&] {
                auto* dialog = new Form6(window.state(), printer, services.messages,
                                         services.settings, runCommand, runPrint, window.widget());
                // A load that fails (no printer, an empty port) leaves no dialog.
                std::unique_ptr<Form6> pending(dialog);
                dialog->LoadForm();
                pending.release();
                *open = dialog;
                dialog->show();
            });
        }));
}
