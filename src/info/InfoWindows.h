#pragma once

#include <QWidget>
#include <functional>

class QLabel;
class QPlainTextEdit;
class QLineEdit;
class QTextBrowser;
class QTimer;
class QUrl;
namespace platform {
class MessageBoxService;
class ShellService;
} // namespace platform

// The splash, shown first: after Timer1 (1500 ms) it shows the main window
// through showMainWindow and closes itself, so the timer fires only once.
class frmIntro : public QWidget {
public:
    explicit frmIntro(std::function<void()> showMainWindow, QWidget* parent = nullptr);

private:
    QTimer* Timer1;
    std::function<void()> showMainWindow_;
};

// The help: Aide/Index.html of the program's folder in an embedded browser.
// Links between pages are followed with back and forward; links to the web
// and mail addresses go to the desktop's handlers.
class frmAide : public QWidget {
public:
    frmAide(const QString& programFolder, platform::ShellService& shell,
            platform::MessageBoxService& messages, QWidget* parent = nullptr);

    QTextBrowser* browser() const { return WebBrowser; }

private:
    void navigate(const QUrl& address);

    QTextBrowser* WebBrowser;
    platform::ShellService& shell_;
    platform::MessageBoxService& messages_;
};

// The update history, historique.txt of the program's folder.
class frmHistorique : public QWidget {
public:
    explicit frmHistorique(const QString& programFolder, QWidget* parent = nullptr);

private:
    QPlainTextEdit* Text1;
};

// The message to the author: a subject and a message handed to the user's
// mail program, addressed to the support address, with the system report.
class frmMail : public QWidget {
public:
    frmMail(const QString& supportAddress, platform::ShellService& shell,
            platform::MessageBoxService& messages, QWidget* parent = nullptr);

private:
    void send();

    QLineEdit* Text1;
    QPlainTextEdit* Text2;
    QString supportAddress_;
    platform::ShellService& shell_;
    platform::MessageBoxService& messages_;
};

// The about box. Label2 and Label3 light up under the mouse and go black
// again only over the window's own background.
class Form4 : public QWidget {
public:
    Form4(const QString& webSiteAddress, const QString& supportAddress,
          platform::ShellService& shell, platform::MessageBoxService& messages,
          std::function<void()> openMail, std::function<void()> openHistory,
          QWidget* parent = nullptr);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    static void highlight(QLabel* label, bool on);
    bool filterLink(QLabel* label, QEvent* event);

    QLabel* Label2;
    QLabel* Label3;
    QString webSiteAddress_;
    platform::ShellService& shell_;
    platform::MessageBoxService& messages_;
    std::function<void()> openMail_;
};
