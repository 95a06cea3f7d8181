#include "dialogs/parameters/ParametersCommand.h"

#include "dialogs/parameters/Form2.h"
#include "platform/CommandRunner.h"
#include "state/MainWindowHost.h"

#include <QAction>
#include <QPointer>
#include <memory>

void InstallParameterCommands(MainWindowHost& window) {
    QAction* item = window.menuItem(QStringLiteral("para"));
    if (item == nullptr)
        return;
    auto open = std::make_shared<QPointer<Form2>>();
    QObject::connect(item, &QAction::triggered, window.widget(),
                     platform::Guarded(window.services().messages, [&window, open] {
                         // A dialog that is closing (hidden, not yet deleted) does not count.
                         if (!open->isNull() && (*open)->isVisible()) {
                             (*open)->raise();
                             (*open)->activateWindow();
                             return;
                         }
                         window.run([&] {
                             const Services& services = window.services();
                             auto* dialog = new Form2(window.state(), services.messages,
                                                      services.settings, window.widget());
                             *open = dialog;
                             dialog->show();
                         });
                     }));
}
