#include "platform/CupsPrinter.h"

#include "platform/PdfTextDocument.h"
#include "platform/RuntimeError.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QPageSize>
#include <QPrinterInfo>
#include <QTimer>
#include <atomic>
#include <cups/cups.h>
#include <functional>
#include <mutex>
#include <thread>

namespace platform {

namespace {

// What the scheduler says of one queue.
struct QueueAttributes {
    bool found = false;
    QString deviceUri;
    int orientation = OrientationPortrait;
    bool stopped = false;
    bool accepting = true;
};

struct IppResponse {
    ipp_t* response;
    ~IppResponse() { ippDelete(response); }
};

QueueAttributes askQueue(const QString& name) {
    static const char* const wanted[] = {"device-uri", "orientation-requested-default",
                                         "printer-state", "printer-is-accepting-jobs"};
    char uri[HTTP_MAX_URI];
    httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", ippPort(),
                     "/printers/%s", name.toUtf8().constData());
    ipp_t* request = ippNewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri);
    ippAddStrings(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes",
                  int(std::size(wanted)), nullptr, wanted);
    const IppResponse answer{cupsDoRequest(CUPS_HTTP_DEFAULT, request, "/")};
    QueueAttributes queue;
    if (answer.response == nullptr || cupsLastError() > IPP_STATUS_OK_EVENTS_COMPLETE)
        return queue;
    queue.found = true;
    ipp_t* response = answer.response;
    if (ipp_attribute_t* attr = ippFindAttribute(response, "device-uri", IPP_TAG_URI))
        queue.deviceUri = QString::fromUtf8(ippGetString(attr, 0, nullptr));
    if (ipp_attribute_t* attr =
            ippFindAttribute(response, "orientation-requested-default", IPP_TAG_ENUM)) {
        // Landscape either way round is landscape; anything else portrait.
        const int value = ippGetInteger(attr, 0);
        if (value == IPP_ORIENT_LANDSCAPE || value == IPP_ORIENT_REVERSE_LANDSCAPE)
            queue.orientation = OrientationLandscape;
    }
    if (ipp_attribute_t* attr = ippFindAttribute(response, "printer-state", IPP_TAG_ENUM))
        queue.stopped = ippGetInteger(attr, 0) == IPP_PSTATE_STOPPED;
    if (ipp_attribute_t* attr =
            ippFindAttribute(response, "printer-is-accepting-jobs", IPP_TAG_BOOLEAN))
        queue.accepting = ippGetBoolean(attr, 0) != 0;
    return queue;
}

[[noreturn]] void printerError() {
    throw RuntimeError(RuntimeError::PrinterError);
}

// One talk with the scheduler, on its own thread. What the thread uses is
// its own (captured by value) or shared here, so a talk given up can go on
// and end by itself without touching the program.
template <typename T> struct Talk {
    std::mutex lock;
    std::optional<T> result;
    std::exception_ptr error;
    std::atomic<bool> done{false};
    std::atomic<bool> abandoned{false};
};

// Runs talk (which is told when it has been given up) while the program
// processes its events, at least every 20 ms; the printer error after limit.
template <typename T>
T talkToScheduler(std::chrono::milliseconds limit,
                  std::function<T(const std::atomic<bool>& abandoned)> talk) {
    QCoreApplication* application = QCoreApplication::instance();
    const auto shared = std::make_shared<Talk<T>>();
    std::thread([shared, talk = std::move(talk), application] {
        std::optional<T> result;
        std::exception_ptr error;
        try {
            result = talk(shared->abandoned);
        } catch (...) {
            error = std::current_exception();
        }
        {
            const std::lock_guard<std::mutex> hold(shared->lock);
            shared->result = std::move(result);
            shared->error = error;
        }
        shared->done = true;
        // Wakes the waiting loop at once (harmless when it has gone).
        if (application != nullptr && !shared->abandoned)
            QMetaObject::invokeMethod(
                application, [] {}, Qt::QueuedConnection);
    }).detach();

    QTimer wake; // so that waiting for events never lasts more than 20 ms
    wake.start(20);
    QElapsedTimer clock;
    clock.start();
    while (!shared->done) {
        if (clock.elapsed() >= limit.count()) {
            shared->abandoned = true;
            printerError();
        }
        if (application != nullptr)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    const std::lock_guard<std::mutex> hold(shared->lock);
    if (shared->error)
        std::rethrow_exception(shared->error);
    return std::move(*shared->result);
}

// The queue and its paper, as beginning a document needs them.
struct DocumentQueue {
    QString name;
    QueueAttributes attributes;
    QPageSize paper;
};

} // namespace

CupsPrinter::CupsPrinter(std::chrono::milliseconds answerLimit) : answerLimit_(answerLimit) {}
CupsPrinter::~CupsPrinter() {
    killDoc();
}

std::vector<InstalledPrinter> CupsPrinter::printers() {
    return talkToScheduler<std::vector<InstalledPrinter>>(answerLimit_, [](const auto&) {
        std::vector<InstalledPrinter> installed;
        const QList<QPrinterInfo> queues = QPrinterInfo::availablePrinters();
        installed.reserve(queues.size());
        for (const QPrinterInfo& queue : queues) {
            const QueueAttributes attributes = askQueue(queue.printerName());
            // A queue the scheduler will not describe (not ours to ask, gone
            // since it was listed) is listed without a port.
            installed.push_back({queue.printerName(), queue.makeAndModel(), attributes.deviceUri,
                                 attributes.orientation});
        }
        return installed;
    });
}

QString CupsPrinter::defaultQueue() {
    // The system's default queue; without one, the first queue, so that
    // printing goes somewhere the user can see in the list.
    QString name = QPrinterInfo::defaultPrinterName();
    if (name.isEmpty()) {
        const QStringList names = QPrinterInfo::availablePrinterNames();
        if (!names.isEmpty())
            name = names.first();
    }
    return name;
}

QString CupsPrinter::currentPrinter() const {
    if (!current_)
        current_ =
            talkToScheduler<QString>(answerLimit_, [](const auto&) { return defaultQueue(); });
    return *current_;
}

void CupsPrinter::setCurrentPrinter(const InstalledPrinter& printer) {
    current_ = printer.DeviceName;
}

void CupsPrinter::beginDocument() {
    const std::optional<QString> chosen = current_;
    const DocumentQueue queue = talkToScheduler<DocumentQueue>(answerLimit_, [chosen](const auto&) {
        DocumentQueue found;
        found.name = chosen ? *chosen : defaultQueue();
        if (found.name.isEmpty())
            return found;
        found.attributes = askQueue(found.name);
        found.paper = QPrinterInfo::printerInfo(found.name).defaultPageSize();
        return found;
    });
    current_ = queue.name;
    if (queue.name.isEmpty())
        printerError();
    // A queue that is stopped (off line, or stopped by a failing device) or
    // refuses jobs would keep the document unprinted: say so now.
    if (!queue.attributes.found || queue.attributes.stopped || !queue.attributes.accepting)
        printerError();
    TextPageGeometry geometry;
    if (queue.paper.isValid()) {
        const QSizeF points = queue.paper.size(QPageSize::Point);
        geometry.width = points.width();
        geometry.height = points.height();
    }
    document_ = std::make_unique<PdfTextDocument>(geometry);
    documentPrinter_ = queue.name;
}

void CupsPrinter::printLine(const QString& text) {
    if (!document_)
        beginDocument();
    document_->addLine(text);
}

void CupsPrinter::endDoc() {
    // A document without a line is no document.
    if (!document_)
        return;
    const QByteArray pdf = document_->finish();
    document_.reset();
    const QByteArray queue = documentPrinter_.toUtf8();
    lastJob_ = talkToScheduler<int>(answerLimit_, [pdf, queue](const std::atomic<bool>& abandoned) {
        const int job = cupsCreateJob(CUPS_HTTP_DEFAULT, queue.constData(), "Tovalin", 0, nullptr);
        if (job <= 0)
            printerError();
        bool sent =
            !abandoned && cupsStartDocument(CUPS_HTTP_DEFAULT, queue.constData(), job, "Tovalin",
                                            CUPS_FORMAT_PDF, 1) == HTTP_STATUS_CONTINUE;
        constexpr qsizetype chunk = 1 << 18;
        for (qsizetype at = 0; sent && at < pdf.size(); at += chunk) {
            sent = cupsWriteRequestData(CUPS_HTTP_DEFAULT, pdf.constData() + at,
                                        static_cast<size_t>(std::min(chunk, pdf.size() - at))) ==
                   HTTP_STATUS_CONTINUE;
        }
        // The request is finished whatever happened, so the connection is
        // free for the next one.
        const ipp_status_t status = cupsFinishDocument(CUPS_HTTP_DEFAULT, queue.constData());
        // A document the program gave up waiting for has been reported as not
        // printed: it must not come out later.
        if (!sent || status > IPP_STATUS_OK_EVENTS_COMPLETE || abandoned) {
            cupsCancelJob2(CUPS_HTTP_DEFAULT, queue.constData(), job, 1);
            printerError();
        }
        return job;
    });
}

void CupsPrinter::killDoc() {
    // Nothing has reached the scheduler before the end of a document.
    document_.reset();
}

} // namespace platform
