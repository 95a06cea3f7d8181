#pragma once

#include <QDialog>
#include <functional>

class GestionDonnee;
class QButtonGroup;
class QComboBox;
class QGroupBox;
class QLabel;
class QListWidget;
class QPushButton;
class QRadioButton;
namespace platform {
class MessageBoxService;
class PrinterService;
class Progress;
class SettingsStore;
} // namespace platform

// The print dialog "Impression": the printer to print on, its driver, port
// and orientation, and the command that prints the point list on it.
// Modeless; it deletes itself when closed.
class Form6 : public QDialog {
    Q_OBJECT
public:
    // Runs a step of the dialog as a command of the program: run-time errors
    // it does not trap reach the program's report.
    using CommandRunner = std::function<bool(const std::function<void()>&)>;
    // Runs the printing with the progress shown on the main window.
    using PrintRunner = std::function<void(const std::function<void(platform::Progress&)>&)>;

    Form6(const GestionDonnee& state, platform::PrinterService& printer,
          platform::MessageBoxService& messages, platform::SettingsStore& settings,
          CommandRunner runCommand, PrintRunner runPrint, QWidget* parent = nullptr);

    // Fills the printer list. Raises the run-time error when there is no
    // printer at all, or the chosen one's port is empty.
    void LoadForm();
    // The text a port is shown with: without its last character ("LPT1:"
    // shows as "LPT1"); error 5 for an empty port.
    static QString PortShown(const QString& port);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildControls();
    void Combo1Click(int index);
    void Command1Click();
    // Entry i of the hidden printer table; "" past its end, as the list gives.
    QString tableEntry(int index) const;
    void showPrinter(int position);

    const GestionDonnee& state_;
    platform::PrinterService& printer_;
    platform::MessageBoxService& messages_;
    platform::SettingsStore& settings_;
    CommandRunner runCommand_;
    PrintRunner runPrint_;
    bool printing_ = false;

    QPushButton* Command2 = nullptr;
    QPushButton* Command1 = nullptr;
    QGroupBox* Frame1 = nullptr;
    QRadioButton* Option2 = nullptr;
    QRadioButton* Option1 = nullptr;
    QButtonGroup* orientationGroup_ = nullptr;
    QListWidget* List1 = nullptr;
    QComboBox* Combo1 = nullptr;
    QLabel* Label3 = nullptr;
    QLabel* Label2 = nullptr;
    QLabel* Label1 = nullptr;
    QLabel* Image1 = nullptr;
};
