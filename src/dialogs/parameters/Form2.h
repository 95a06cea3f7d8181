#pragma once

#include <QDialog>

class GestionDonnee;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
namespace platform {
class MessageBoxService;
class SettingsStore;
} // namespace platform

// The file parameters dialog: separators and numbering of XYZ files, layers,
// flavour, numbering and dimension of DXF files. Modeless; it reads the
// settings store when it opens and writes the store and the in-memory copies
// on "Ok". It deletes itself when closed.
class Form2 : public QDialog {
    Q_OBJECT
public:
    Form2(GestionDonnee& state, platform::MessageBoxService& messages,
          platform::SettingsStore& settings, QWidget* parent = nullptr);

    // The two character tests of the typing rules: whether the text holds a
    // character a layer name may not have (anything but a digit, an
    // unaccented letter, "_", "$", a blank or "-"), and whether it holds
    // anything but digits.
    static bool LayerNameHasForbiddenCharacter(const QString& text);
    static bool NumberHasForbiddenCharacter(const QString& text);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildControls();
    void connectRules();
    void LoadForm();

    // Click rules of the check boxes and option buttons.
    void Check1Click();
    void Check2Click();
    void Check3Click();
    void Check4Click();
    void Check5Click();
    void Check6Click();
    void Check7Click();
    void Option1Click();
    void Option2Click();

    void Command1Click();

    // Enables the field on the system window colour, or disables it on grey.
    static void setFieldActive(QLineEdit* field, bool active);
    // Every-change test: while the text holds a forbidden character, the
    // message is shown and the character just typed removed.
    void checkChange(QLineEdit* field, bool (*forbidden)(const QString&), const QString& prompt,
                     const QString& title);
    // Refill of an emptied field when it loses the focus.
    // The rules of a field's keys and focus; true when the key is taken.
    bool filterField(QLineEdit* field, QEvent* event);
    void refillOnFocusLoss(QLineEdit* field);
    QString separatorOfList(const QComboBox* list, const QString& current) const;
    void save(const char* key, const QString& value);

    GestionDonnee& state_;
    platform::MessageBoxService& messages_;
    platform::SettingsStore& settings_;
    bool correcting_ = false;

    QGroupBox* Frame1 = nullptr;
    QLabel* Label1 = nullptr;
    QLabel* Label2 = nullptr;
    QComboBox* Combo1 = nullptr;
    QCheckBox* Check1 = nullptr;
    QLineEdit* Text1 = nullptr;
    QLabel* Label4 = nullptr;
    QLabel* Label3 = nullptr;
    QComboBox* Combo2 = nullptr;
    QCheckBox* Check2 = nullptr;
    QLineEdit* Text2 = nullptr;
    QCheckBox* Check5 = nullptr;
    QLineEdit* Text6 = nullptr;
    QCheckBox* Check6 = nullptr;

    QGroupBox* Frame2 = nullptr;
    QRadioButton* Option1 = nullptr;
    QRadioButton* Option2 = nullptr;
    QButtonGroup* flavourGroup_ = nullptr;
    QLabel* Label5 = nullptr;
    QLabel* Label6 = nullptr;
    QLineEdit* Text3 = nullptr;
    QCheckBox* Check3 = nullptr;
    QLineEdit* Text4 = nullptr;
    QCheckBox* Check4 = nullptr;
    QLineEdit* Text5 = nullptr;
    QCheckBox* Check7 = nullptr;
    QLineEdit* Text7 = nullptr;
    QRadioButton* Option3 = nullptr;
    QRadioButton* Option4 = nullptr;
    QButtonGroup* dimensionGroup_ = nullptr;

    QPushButton* Command1 = nullptr;
    QPushButton* Command2 = nullptr;
};
