#include "info/InfoWindows.h"

#include "info/InfoTexts.h"
#include "platform/CommandRunner.h"
#include "platform/Shell.h"

#include <QDir>
#include <QFileInfo>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QTextBrowser>
#include <QTimer>
#include <QVBoxLayout>

namespace {

// Our picture: a surveyor's tripod under a target, drawn rather than shipped.
QPixmap emblem(int size) {
    QPixmap picture(size, size);
    picture.fill(Qt::white);
    QPainter paint(&picture);
    paint.setRenderHint(QPainter::Antialiasing);
    const double s = size / 100.0;
    paint.setPen(QPen(QColor(90, 60, 30), 4 * s));
    paint.drawLine(QPointF(50 * s, 40 * s), QPointF(22 * s, 95 * s));
    paint.drawLine(QPointF(50 * s, 40 * s), QPointF(78 * s, 95 * s));
    paint.drawLine(QPointF(50 * s, 40 * s), QPointF(50 * s, 95 * s));
    paint.setPen(QPen(QColor(0, 70, 140), 3 * s));
    paint.setBrush(QColor(220, 235, 250));
    paint.drawEllipse(QPointF(50 * s, 24 * s), 18 * s, 18 * s);
    paint.drawLine(QPointF(32 * s, 24 * s), QPointF(68 * s, 24 * s));
    paint.drawLine(QPointF(50 * s, 6 * s), QPointF(50 * s, 42 * s));
    return picture;
}

QLabel* pictureLabel(const char* name, int size, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setObjectName(QString::fromLatin1(name));
    label->setPixmap(emblem(size));
    return label;
}

QString errorPage(const QString& fileName) {
    return QStringLiteral("<html><body><h2>Page introuvable</h2>"
                          "<p>La page d'aide suivante est introuvable :</p><p><tt>") +
           fileName.toHtmlEscaped() +
           QStringLiteral("</tt></p><p>Les fichiers de l'aide doivent se trouver dans le "
                          "dossier <tt>Aide</tt> à côté du programme. Réinstallez Tovalin "
                          "pour les retrouver.</p></body></html>");
}

} // namespace

frmIntro::frmIntro(std::function<void()> showMainWindow, QWidget* parent)
    : QWidget(parent, Qt::SplashScreen), Timer1(new QTimer(this)),
      showMainWindow_(std::move(showMainWindow)) {
    setObjectName(QStringLiteral("frmIntro"));
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(pictureLabel("Image1", 128, this));
    auto* texts = new QVBoxLayout;
    auto* title = new QLabel(QStringLiteral("Tovalin"), this);
    QFont big = title->font();
    big.setPointSize(big.pointSize() * 2);
    big.setBold(true);
    title->setFont(big);
    auto* Label1 = new QLabel(SplashVersionText(platform::programVersion()), this);
    Label1->setObjectName(QStringLiteral("Label1"));
    auto* Label2 = new QLabel(AuthorLine(), this);
    Label2->setObjectName(QStringLiteral("Label2"));
    texts->addStretch();
    texts->addWidget(title);
    texts->addWidget(Label1);
    texts->addWidget(Label2);
    texts->addStretch();
    layout->addLayout(texts);
    setStyleSheet(QStringLiteral("frmIntro { background: white; border: 1px solid gray; }"));
    setAttribute(Qt::WA_StyledBackground);
    // In the middle of the screen, as a splash stands.
    adjustSize();
    if (const QScreen* shown = screen())
        move(shown->availableGeometry().center() - rect().center());

    Timer1->setObjectName(QStringLiteral("Timer1"));
    Timer1->setInterval(1500);
    Timer1->setSingleShot(true);
    connect(Timer1, &QTimer::timeout, this, [this] {
        showMainWindow_();
        close();
    });
    Timer1->start();
}

frmAide::frmAide(const QString& programFolder, platform::ShellService& shell,
                 platform::MessageBoxService& messages, QWidget* parent)
    : QWidget(parent, Qt::Window), WebBrowser(new QTextBrowser(this)), shell_(shell),
      messages_(messages) {
    setObjectName(QStringLiteral("frmAide"));
    setWindowTitle(QStringLiteral("Aide de Tovalin"));
    resize(760, 600);
    WebBrowser->setObjectName(QStringLiteral("WebBrowser"));
    // Every link comes to navigate(): pages of the help here, the web to the
    // desktop's browser.
    WebBrowser->setOpenLinks(false);
    connect(WebBrowser, &QTextBrowser::anchorClicked, this,
            platform::Guarded(messages_, [this](const QUrl& link) {
                navigate(WebBrowser->source().resolved(link));
            }));

    auto* back = new QPushButton(QStringLiteral("Précédent"), this);
    back->setObjectName(QStringLiteral("Precedent"));
    back->setShortcut(QKeySequence::Back);
    back->setEnabled(false);
    auto* forward = new QPushButton(QStringLiteral("Suivant"), this);
    forward->setObjectName(QStringLiteral("Suivant"));
    forward->setShortcut(QKeySequence::Forward);
    forward->setEnabled(false);
    auto* home = new QPushButton(QStringLiteral("Sommaire"), this);
    home->setObjectName(QStringLiteral("Sommaire"));
    connect(back, &QPushButton::clicked, WebBrowser, &QTextBrowser::backward);
    connect(forward, &QPushButton::clicked, WebBrowser, &QTextBrowser::forward);
    connect(WebBrowser, &QTextBrowser::backwardAvailable, back, &QPushButton::setEnabled);
    connect(WebBrowser, &QTextBrowser::forwardAvailable, forward, &QPushButton::setEnabled);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(back);
    buttons->addWidget(forward);
    buttons->addWidget(home);
    buttons->addStretch();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addLayout(buttons);
    layout->addWidget(WebBrowser);

    const QUrl start = QUrl::fromLocalFile(programFolder + QStringLiteral("/Aide/Index.html"));
    connect(home, &QPushButton::clicked, this,
            platform::Guarded(messages_, [this, start] { navigate(start); }));
    navigate(start);
}

void frmAide::navigate(const QUrl& address) {
    if (!address.isLocalFile() && !address.isRelative()) {
        shell_.open(address);
        return;
    }
    const QString fileName = address.toLocalFile();
    if (!QFileInfo(fileName).isFile()) {
        WebBrowser->setHtml(errorPage(QDir::toNativeSeparators(fileName)));
        return;
    }
    WebBrowser->setSource(address);
}

frmHistorique::frmHistorique(const QString& programFolder, QWidget* parent)
    : QWidget(parent, Qt::Window), Text1(new QPlainTextEdit(this)) {
    setObjectName(QStringLiteral("frmHistorique"));
    setWindowTitle(QStringLiteral("Historique des mises à jour"));
    resize(640, 440);
    Text1->setObjectName(QStringLiteral("Text1"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Text1);
    Text1->setPlainText(HistoryText(programFolder + QStringLiteral("/historique.txt")));
}

frmMail::frmMail(const QString& supportAddress, platform::ShellService& shell,
                 platform::MessageBoxService& messages, QWidget* parent)
    : QWidget(parent, Qt::Window), Text1(new QLineEdit(this)), Text2(new QPlainTextEdit(this)),
      supportAddress_(supportAddress), shell_(shell), messages_(messages) {
    setObjectName(QStringLiteral("frmMail"));
    setWindowTitle(QStringLiteral("Envoyer un mail à l'auteur"));
    resize(520, 400);
    auto* Label3 = new QLabel(QStringLiteral("A : ") + supportAddress, this);
    Label3->setObjectName(QStringLiteral("Label3"));
    auto* Label1 = new QLabel(QStringLiteral("Sujet :"), this);
    Label1->setObjectName(QStringLiteral("Label1"));
    auto* Label2 = new QLabel(QStringLiteral("Message :"), this);
    Label2->setObjectName(QStringLiteral("Label2"));
    auto* Label4 = new QLabel(QStringLiteral("La version de votre système et la taille de sa "
                                             "mémoire sont jointes au message."),
                              this);
    Label4->setObjectName(QStringLiteral("Label4"));
    Label4->setWordWrap(true);
    Text1->setObjectName(QStringLiteral("Text1"));
    Text2->setObjectName(QStringLiteral("Text2"));
    auto* Command1 = new QPushButton(QStringLiteral("Envoyer"), this);
    Command1->setObjectName(QStringLiteral("Command1"));
    auto* Command2 = new QPushButton(QStringLiteral("Annuler"), this);
    Command2->setObjectName(QStringLiteral("Command2"));
    connect(Command1, &QPushButton::clicked, this,
            platform::Guarded(messages_, [this] { send(); }));
    connect(Command2, &QPushButton::clicked, this, &QWidget::close);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Label3);
    layout->addWidget(Label1);
    layout->addWidget(Text1);
    layout->addWidget(Label2);
    layout->addWidget(Text2);
    layout->addWidget(Label4);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(Command1);
    buttons->addWidget(Command2);
    layout->addLayout(buttons);
}

void frmMail::send() {
    // The mail program takes it from here: the user sends it from there.
    if (shell_.open(MailtoAddress(supportAddress_, Text1->text(),
                                  MailBody(Text2->toPlainText(), SystemReport())))) {
        close();
        return;
    }
    // Nothing took it: the window and the typed message stay, and the user
    // is told how to send it another way.
    messages_.show(NoMailProgramText(supportAddress_), platform::MsgButtons::Ok,
                   platform::MsgIcon::Information, windowTitle());
}

Form4::Form4(const QString& webSiteAddress, const QString& supportAddress,
             platform::ShellService& shell, platform::MessageBoxService& messages,
             std::function<void()> openMail, std::function<void()> openHistory, QWidget* parent)
    : QWidget(parent, Qt::Window), Label2(new QLabel(this)), Label3(new QLabel(this)),
      webSiteAddress_(webSiteAddress), shell_(shell), messages_(messages),
      openMail_(std::move(openMail)) {
    setObjectName(QStringLiteral("Form4"));
    setWindowTitle(QStringLiteral("A propos"));
    setMouseTracking(true);

    auto* Image2 = pictureLabel("Image2", 96, this);
    auto* Label1 = new QLabel(AboutVersionText(platform::programVersion()), this);
    Label1->setObjectName(QStringLiteral("Label1"));
    auto* Label4 = new QLabel(AuthorLine(), this);
    Label4->setObjectName(QStringLiteral("Label4"));
    Label3->setObjectName(QStringLiteral("Label3"));
    Label3->setText(QStringLiteral("Site : ") + webSiteAddress);
    Label2->setObjectName(QStringLiteral("Label2"));
    Label2->setText(QStringLiteral("Email : ") + supportAddress);
    for (QLabel* link : {Label2, Label3}) {
        link->setMouseTracking(true);
        link->setCursor(Qt::PointingHandCursor);
        link->installEventFilter(this);
        highlight(link, false);
    }

    auto* Frame1 = new QGroupBox(QStringLiteral("Informations"), this);
    Frame1->setObjectName(QStringLiteral("Frame1"));
    auto* Text1 = new QPlainTextEdit(Frame1);
    Text1->setObjectName(QStringLiteral("Text1"));
    Text1->setReadOnly(true);
    Text1->setPlainText(AboutNotice(supportAddress));
    Text1->setMinimumWidth(420);
    auto* frameLayout = new QVBoxLayout(Frame1);
    frameLayout->addWidget(Text1);

    auto* Command2 = new QPushButton(QStringLiteral("Historique des mises à jour"), this);
    Command2->setObjectName(QStringLiteral("Command2"));
    // Room for the whole caption, which some styles clip at its size hint.
    Command2->setMinimumWidth(Command2->sizeHint().width() + 16);
    auto* Command1 = new QPushButton(QStringLiteral("Ok"), this);
    Command1->setObjectName(QStringLiteral("Command1"));
    connect(Command2, &QPushButton::clicked, this,
            platform::Guarded(messages_, [open = std::move(openHistory)] { open(); }));
    connect(Command1, &QPushButton::clicked, this, &QWidget::close);

    auto* head = new QHBoxLayout;
    head->addWidget(Image2);
    auto* headTexts = new QVBoxLayout;
    for (QLabel* label : {Label1, Label4, Label3, Label2})
        headTexts->addWidget(label, 0, Qt::AlignLeft);
    head->addLayout(headTexts);
    head->addStretch();
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(Command2);
    buttons->addStretch();
    buttons->addWidget(Command1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 12, 12, 12);
    layout->addLayout(head);
    layout->addWidget(Frame1);
    layout->addLayout(buttons);
}

void Form4::highlight(QLabel* label, bool on) {
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, on ? QColor(0, 0, 255) : QColor(0, 0, 0));
    label->setPalette(palette);
    QFont font = label->font();
    font.setUnderline(on);
    label->setFont(font);
}

bool Form4::eventFilter(QObject* watched, QEvent* event) {
    auto* label = qobject_cast<QLabel*>(watched);
    bool taken = false;
    if (label == Label2 || label == Label3)
        platform::RunCommand(messages_, [&] { taken = filterLink(label, event); });
    return taken || QWidget::eventFilter(watched, event);
}

bool Form4::filterLink(QLabel* label, QEvent* event) {
    if (event->type() == QEvent::MouseMove) {
        // Only this label lights up; the other keeps its look until the
        // mouse crosses the window's background, as it always has.
        highlight(label, true);
        return true;
    }
    // The press is taken so that the release comes back here.
    if (event->type() == QEvent::MouseButtonPress)
        return true;
    if (event->type() == QEvent::MouseButtonRelease &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton &&
        label->rect().contains(static_cast<QMouseEvent*>(event)->position().toPoint())) {
        if (label == Label3)
            shell_.open(QUrl(webSiteAddress_));
        else
            openMail_();
        return true;
    }
    return false;
}

void Form4::mouseMoveEvent(QMouseEvent* event) {
    // Moves that reach the window from its other controls do not count: only
    // its own background turns the links black again.
    if (childAt(event->position().toPoint()) == nullptr) {
        platform::RunCommand(messages_, [this] {
            highlight(Label2, false);
            highlight(Label3, false);
        });
    }
    QWidget::mouseMoveEvent(event);
}
