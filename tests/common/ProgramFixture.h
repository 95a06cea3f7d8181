#pragma once

#include "WindowFixture.h"

#include "dialogs/parameters/ParametersCommand.h"
#include "editing/EditingCommands.h"
#include "editing/NumberingCommands.h"
#include "info/InfoCommands.h"
#include "platform/Printer.h"
#include "platform/Shell.h"
#include "printing/PrintingCommands.h"
#include "viewer/ViewerCommands.h"

namespace testing {

// The main window with every module's commands, as the program wires it,
// shown, with one point in the list.
struct ProgramFixture : WindowFixture {
    platform::RecordingShell shell;
    platform::ScriptedPrinter printer;
    explicit ProgramFixture(const std::vector<PointRecord>& points = {{1234.5, 6862104.512, 152.3,
                                                                       QStringLiteral("A1")}})
        : WindowFixture(points) {
        // A queue with a long name, driver and port, as CUPS gives them.
        printer.installed = {{QStringLiteral("PDF_Paysage"), QStringLiteral("Generic PDF Printer"),
                              QStringLiteral("file:///var/spool/cups-pdf/paysage.pdf"),
                              platform::OrientationLandscape}};
        InstallPrintingCommands(window, printer);
        InstallParameterCommands(window);
        InstallEditingCommands(window);
        InstallNumberingAndFormatCommands(window);
        InstallInfoCommands(window, shell, dir.path());
        InstallViewerCommands(window);
        window.show();
        window.grid()->setCurrentIndex(state.Grid.index(0, 0));
    }
    ~ProgramFixture() {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (widget != &window && widget->isVisible())
                widget->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    // The visible top-level window of that name.
    QWidget* topLevel(const QString& name) const {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (widget->objectName() == name && widget->isVisible())
                return widget;
        return nullptr;
    }
};

} // namespace testing
