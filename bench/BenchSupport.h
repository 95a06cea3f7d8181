#pragma once

// What the benchmark programs measure alike: the longest stretch without
// processing events, and the process's memory.

#include <QElapsedTimer>
#include <QFile>
#include <QList>
#include <QTimer>
#include <cstdio>
#include <sys/resource.h>

namespace bench {

// The longest time between two turns of the event loop: a timer that wants
// to run every millisecond runs only when events are processed.
class GapMeter {
public:
    GapMeter() {
        timer_.setInterval(1);
        timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer_, &QTimer::timeout, [this] { note(); });
    }
    void start() {
        longest_ = 0;
        clock_.start();
        since_.start();
        timer_.start();
    }
    void note() {
        const qint64 gap = clock_.restart();
        if (gap > longest_)
            longest_ = gap;
        // TOVALIN_BENCH_GAPS=1 tells where the long ones end, to find them.
        if (gap > 30 && qEnvironmentVariableIsSet("TOVALIN_BENCH_GAPS"))
            std::fprintf(stderr, "gap %lld ms ending at %lld ms\n", static_cast<long long>(gap),
                         static_cast<long long>(since_.elapsed()));
    }
    qint64 stop() {
        note();
        timer_.stop();
        return longest_;
    }

private:
    QTimer timer_;
    QElapsedTimer clock_;
    QElapsedTimer since_;
    qint64 longest_ = 0;
};

// The resident size now, in kilobytes.
inline long residentKilobytes() {
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toLong() * 4 : 0;
}

// The largest resident size so far, in kilobytes.
inline long peakKilobytes() {
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace bench
