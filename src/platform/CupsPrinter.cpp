#include "platform/CupsPrinter.h"

#include "platform/PdfTextDocument.h"
#include "platform/RuntimeError.h"

#include <QPageSize>
#include <QPrinterInfo>
#include <cups/cups.h>

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

} // namespace

CupsPrinter::CupsPrinter() = default;
CupsPrinter::~CupsPrinter() {
    killDoc();
}

std::vector<InstalledPrinter> CupsPrinter::printers() {
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
}

QString CupsPrinter::currentPrinter() const {
    if (!current_) {
        // The system's default queue; without one, the first queue, so that
        // printing goes somewhere the user can see in the list.
        QString name = QPrinterInfo::defaultPrinterName();
        if (name.isEmpty()) {
            const QStringList names = QPrinterInfo::availablePrinterNames();
            if (!names.isEmpty())
                name = names.first();
        }
        current_ = name;
    }
    return *current_;
}

void CupsPrinter::setCurrentPrinter(const InstalledPrinter& printer) {
    current_ = printer.DeviceName;
}

void CupsPrinter::beginDocument() {
    const QString name = currentPrinter();
    if (name.isEmpty())
        printerError();
    // A queue that is stopped (off line, or stopped by a failing device) or
    // refuses jobs would keep the document unprinted: say so now.
    const QueueAttributes queue = askQueue(name);
    if (!queue.found || queue.stopped || !queue.accepting)
        printerError();
    TextPageGeometry geometry;
    const QPageSize paper = QPrinterInfo::printerInfo(name).defaultPageSize();
    if (paper.isValid()) {
        const QSizeF points = paper.size(QPageSize::Point);
        geometry.width = points.width();
        geometry.height = points.height();
    }
    document_ = std::make_unique<PdfTextDocument>(geometry);
    documentPrinter_ = name;
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
    const int job = cupsCreateJob(CUPS_HTTP_DEFAULT, queue.constData(), "Tovalin", 0, nullptr);
    if (job <= 0)
        printerError();
    bool sent = cupsStartDocument(CUPS_HTTP_DEFAULT, queue.constData(), job, "Tovalin",
                                  CUPS_FORMAT_PDF, 1) == HTTP_STATUS_CONTINUE;
    constexpr qsizetype chunk = 1 << 18;
    for (qsizetype at = 0; sent && at < pdf.size(); at += chunk) {
        sent = cupsWriteRequestData(CUPS_HTTP_DEFAULT, pdf.constData() + at,
                                    static_cast<size_t>(std::min(chunk, pdf.size() - at))) ==
               HTTP_STATUS_CONTINUE;
    }
    // The request is finished whatever happened, so the connection is free
    // for the next one.
    const ipp_status_t status = cupsFinishDocument(CUPS_HTTP_DEFAULT, queue.constData());
    if (!sent || status > IPP_STATUS_OK_EVENTS_COMPLETE) {
        cupsCancelJob2(CUPS_HTTP_DEFAULT, queue.constData(), job, 1);
        printerError();
    }
    lastJob_ = job;
}

void CupsPrinter::killDoc() {
    // Nothing has reached the scheduler before the end of a document.
    document_.reset();
}

} // namespace platform
