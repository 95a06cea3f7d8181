#pragma once

#include <QDialog>
#include <functional>

class GestionDonnee;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QPushButton;
namespace platform {
class MessageBoxService;
class SettingsStore;
} // namespace platform

// "Format des données": the number of decimals and the thousands separator
// of the coordinates shown in the list. Each choice is saved the moment it is
// made; "Ok" rewrites the list's texts, the close box leaves them. Modeless.
class FormatDonnee : public QDialog {
    Q_OBJECT
public:
    // Runs a command with the error report (the main window's run). Without
    // one, the command simply runs.
    using Runner = std::function<void(const std::function<void()>&)>;

    FormatDonnee(GestionDonnee& state, platform::SettingsStore& settings,
                 platform::MessageBoxService& messages, Runner runner = {},
                 QWidget* parent = nullptr);

    bool formatChanged() const { return FormatChanged; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void checkClicked();
    void comboClicked(int index);
    void okClicked();

    GestionDonnee& state_;
    platform::SettingsStore& settings_;
    platform::MessageBoxService& messages_;
    Runner runner_;
    bool running_ = false;
    bool FormatChanged = false;

    QGroupBox* Frame1 = nullptr;
    QComboBox* Combo1 = nullptr;
    QGroupBox* Frame2 = nullptr;
    QCheckBox* Check1 = nullptr;
    QPushButton* Command1 = nullptr;
};
