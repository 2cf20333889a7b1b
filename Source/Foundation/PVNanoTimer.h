// PVNanoTimer: a stopwatch with nanosecond resolution that takes its own measuring
// overhead out of what it reports and averages over several runs.
//
// Each start()/stop() pair is one run; nanoseconds() gives the mean duration of the
// completed runs and description() a readable text of it ("2.0us"). The cost of one
// start/stop pair is measured when the timer is made (ten empty runs) and subtracted from
// every run. Time comes from clock_gettime(CLOCK_MONOTONIC).
//
// Ownership and threads: a plain value-less object owned by whoever makes it (timer()
// hands out a unique_ptr). It has no locks: one instance is for one thread.
//
// Usage:
//     auto t = PVNanoTimer::timer();
//     for (...) { t->start(); work(); t->stop(); }
//     qInfo() << t->description();
#pragma once

#include <QString>

#include <cstdint>
#include <ctime>
#include <memory>

class PVNanoTimer {
public:
    /// A new, calibrated timer, or null when the clock cannot be read (the failure is
    /// logged as "host_get_clock_service : <error number>").
    static std::unique_ptr<PVNanoTimer> timer();

    /// Makes and calibrates a timer. When the clock cannot be read the failure is logged
    /// and every reading is 0; timer() is the way to learn of it.
    PVNanoTimer();
    virtual ~PVNanoTimer() = default;
    PVNanoTimer(const PVNanoTimer&) = delete;
    PVNanoTimer& operator=(const PVNanoTimer&) = delete;

    /// Starts a run; a second start() while running changes nothing.
    void start();

    /// Ends the current run: its duration, less the calibrated overhead (never below 0),
    /// is added to the sum and the run counted. Without a running start() it does nothing.
    void stop();

    /// Forgets all runs: sum and count 0, not running. The calibration is kept.
    void reset();

    /// Sets the number of runs the sum is divided by, so that one long run over n
    /// iterations reports the time per iteration. Ignored while running.
    void setLoopcounter(int count);

    /// While running, the nanoseconds since start() (uncorrected); otherwise the mean
    /// corrected duration of the completed runs (sum / count, integer division), or 0 when
    /// no run has completed.
    uint64_t nanoseconds() const;

    /// The text of nanoseconds() n: "%lldns" up to 499 ns; otherwise with u = n / 1000.0,
    /// "%.1fus" below 500 us; otherwise with m = u / 1000.0, "%.1fms" below 500 ms;
    /// otherwise "%.1fs (%.1fms)" of m / 1000 and m. So 499 -> "499ns", 500 -> "0.5us",
    /// 600 000 000 -> "0.6s (600.0ms)".
    QString description() const;

    /// The same text for any number of nanoseconds.
    static QString descriptionFor(uint64_t nanoseconds);

protected:
    /// The clock in nanoseconds; 0 (with "clock_get_time : <error number>" logged) when it
    /// cannot be read. Virtual so that a subclass can measure against another time base.
    virtual uint64_t _getclock() const;

    uint64_t startTime = 0;
    uint64_t endTime = 0;
    uint64_t sumTime = 0;
    uint64_t internalCorrection = 0; ///< mean cost of one start/stop pair, nanoseconds
    int loopCounter = 0; ///< completed runs
    bool isRunning = false;
    /// The clock service in use (the name is historical; it is CLOCK_MONOTONIC).
    clockid_t clk_realtime = CLOCK_MONOTONIC;
    bool m_clockAvailable = false;
};
