#include "viewer/ViewerCommands.h"

#include "platform/CommandRunner.h"
#include "platform/Dialogs.h"
#include "platform/GuiProgress.h"
#include "state/GestionDonnee.h"
#include "state/MainWindowHost.h"
#include "viewer/frmVisualisation.h"

#include <QAction>
#include <QApplication>
#include <QPointer>
#include <memory>

void InstallViewerCommands(MainWindowHost& window) {
    QAction* item = window.menuItem(QStringLiteral("view"));
    if (item == nullptr)
        return;
    // The view's fields live for the whole run; its window only while open.
    auto view = std::make_shared<PointView>();
    auto open = std::make_shared<QPointer<frmVisualisation>>();
    QObject::connect(item, &QAction::triggered, window.widget(),
                     platform::Guarded(window.services().messages, [&window, view, open] {
                         window.run([&] {
                             if (window.state().Grid.rows() == 1) {
                                 // "insuffusant": the program's own spelling.
                                 window.services().messages.show(
                                     QStringLiteral("Nombre de points insuffusant"),
                                     platform::MsgButtons::Ok, platform::MsgIcon::Critical);
                                 return;
                             }
                             // A window closed during a pass stays, hidden, until the pass
                             // has returned: a new one is made meanwhile.
                             if (!open->isNull() && (*open)->isVisible()) {
                                 (*open)->raise();
                                 (*open)->activateWindow();
                                 return;
                             }
                             {
                                 QApplication::setOverrideCursor(Qt::WaitCursor);
                                 struct Restore {
                                     ~Restore() { QApplication::restoreOverrideCursor(); }
                                 } restore;
                                 platform::GuiProgress progress([](const QString&) {});
                                 LoadView(*view, window.state().Grid, progress);
                             }
                             auto* shown =
                                 new frmVisualisation(*view, window.services().input,
                                                      window.services().messages, window.widget());
                             *open = shown;
                             shown->show();
                             // Shown, it becomes the active window, which draws it.
                             shown->activateWindow();
                         });
                     }));
}
