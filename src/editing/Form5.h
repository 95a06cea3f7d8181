#pragma once

#include "editing/Numbering.h"

#include <QDialog>
#include <functional>

class GestionDonnee;
class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
namespace platform {
class MessageBoxService;
class Progress;
} // namespace platform

// "Immatriculation": renumbers every point of the store, with a running number
// or a text holding one, in place of the old identifiers or beside them.
// Modeless; it stays open after a run.
class Form5 : public QDialog {
    Q_OBJECT
public:
    // Runs a command with the error report (the main window's run). Without
    // one, errors are reported through messages.
    using Runner = std::function<void(const std::function<void()>&)>;

    Form5(GestionDonnee& state, platform::MessageBoxService& messages, Runner runner = {},
          QWidget* parent = nullptr);

    // The next number to give; set from the start field at each run.
    float numberingCounter() const { return NumberingCounter; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void numericNumbering();
    void textNumbering();
    NumberingMode currentMode() const;
    void runNumbering(const std::function<void(platform::Progress&)>& numbering);

    GestionDonnee& state_;
    platform::MessageBoxService& messages_;
    Runner runner_;
    bool running_ = false;
    float NumberingCounter = 0.0f;

    QLabel* Label6 = nullptr;
    QGroupBox* Frame2 = nullptr;
    QLabel* Label4 = nullptr;
    QLineEdit* Text1 = nullptr;
    QPushButton* Command1 = nullptr;
    QGroupBox* Frame1 = nullptr;
    QLabel* Label1 = nullptr;
    QLineEdit* Text4 = nullptr;
    QCheckBox* Check1 = nullptr;
    QLineEdit* Text3 = nullptr;
    QLabel* Label2 = nullptr;
    QLabel* Label3 = nullptr;
    QPushButton* Command2 = nullptr;
    QLabel* Label5 = nullptr;
    QRadioButton* OptRe = nullptr;
    QRadioButton* OptAj = nullptr;
    QGroupBox* Frame3 = nullptr;
    QRadioButton* OptAjAv = nullptr;
    QRadioButton* OptAjAp = nullptr;
};
