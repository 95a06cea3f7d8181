#pragma once

#include "editing/PointEditing.h"

#include <QDialog>

class GestionDonnee;
class MainWindowSurface;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
namespace platform {
class MessageBoxService;
}

// "Editeur de point": enters a new point, modifies the point chosen in the
// list, or searches the store, as EditMode says when it opens. It is shown
// without blocking, while the main window is disabled (the other windows
// stay usable); closing it, whatever the way, enables the main window again
// and rewrites the count label.
class Form3 : public QDialog {
    Q_OBJECT
public:
    // mainWindow is the editor's owner; surface is disabled while the editor
    // is open and gets the count label when it closes. Both must outlive the
    // editor.
    Form3(GestionDonnee& state, platform::MessageBoxService& messages, QWidget* mainWindow,
          MainWindowSurface& surface);

    void done(int result) override;

signals:
    // The identifier check walked the list and left its current row elsewhere.
    void gridPositionMoved();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // The rules of the fields' keys and focus; true when the key is taken.
    bool filterField(QObject* watched, QEvent* event);
    void load();
    void applySearchLayout(bool search);
    void coordinateChanged(QLineEdit* field);
    void identifierLeft();
    void Command1_Click();
    void search();
    void switchToModify(std::size_t index);
    PointFields fields() const;

    GestionDonnee& state_;
    platform::MessageBoxService& messages_;
    QWidget* mainWindow_;
    MainWindowSurface& surface_;
    bool unloaded_ = false;

    QLabel* Label4 = nullptr;
    QLineEdit* Text4 = nullptr;
    QLabel* Label1 = nullptr;
    QLineEdit* Text1 = nullptr;
    QLabel* Label2 = nullptr;
    QLineEdit* Text2 = nullptr;
    QLabel* Label3 = nullptr;
    QLineEdit* Text3 = nullptr;
    QPushButton* Command1 = nullptr;
    QPushButton* Command2 = nullptr;
    QRadioButton* Option1 = nullptr;
    QRadioButton* Option2 = nullptr;
};
