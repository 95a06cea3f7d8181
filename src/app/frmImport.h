#pragma once

#include "app/ImportPreview.h"

#include <QDialog>
#include <functional>

class MainWindowHost;
class QComboBox;
class QLabel;
class QListWidget;
class QPushButton;
class QSpinBox;
class QTableWidget;

// The import window: another program's survey file shown as a table under
// the layout found, which the user corrects (separator, decimal mark, lines
// skipped, each column's role) before "Ok" adds the points to the list as
// "Ouvrir" does. The logic is in ImportPreview and ImportSurveyFile; the
// window only shows them. It deletes itself when closed.
class frmImport : public QDialog {
    Q_OBJECT
public:
    frmImport(MainWindowHost& host, QString fileName, ImportPreview preview,
              QWidget* parent = nullptr);

    // The window's texts, kept here so the tests read the same ones.
    static QString caption();
    static QString roleText(importing::ColumnRole role);

private:
    void buildControls();
    // Shows the preview's layout in every control, then counts the file.
    void showLayout();
    void showCount();
    // Runs a change of the user's with the error report, then shows it.
    void change(const std::function<void()>& apply);
    void Command1Click();

    MainWindowHost& host_;
    QString fileName_;
    ImportPreview preview_;
    QLabel* Label3 = nullptr;    // the file and its encoding
    QComboBox* Combo1 = nullptr; // separator
    QComboBox* Combo2 = nullptr; // decimal mark
    QSpinBox* Spin1 = nullptr;   // lines skipped
    QTableWidget* Grid = nullptr;
    QLabel* Label2 = nullptr; // the layout in one line
    QLabel* Label1 = nullptr; // rows read and left aside
    QListWidget* List1 = nullptr;
    QPushButton* Command1 = nullptr; // Ok
    QPushButton* Command2 = nullptr; // Annuler
};

// Shows the import window for each file in turn, over the main window: the
// next one once the last is closed. A file that cannot be read gives the
// run-time error report and the next file is shown.
void ShowImportWindows(MainWindowHost& host, QStringList fileNames);
