// The toolkit's one source of elapsed time.
#pragma once

#include <functional>
#include <memory>

/**
    A process-wide monotonic clock in seconds. Everything in the toolkit that measures
    elapsed time (meter fall-back, animations, grace periods, delayed calls) reads now(),
    so a test can replace the source and step time exactly instead of sleeping.

    Only differences between two readings mean something: the origin is arbitrary (the
    default source counts from its first use). The default source is std::chrono's steady
    clock, which never goes backwards.

    Qt timers still decide when code runs; the clock only says how much time has passed.
    Code that waits for a moment on this clock (pv_performAfterDelay()) checks the clock
    again when its Qt timer fires.

    Main thread only, like the rest of the toolkit; the source is not guarded by a lock.

    @see PvClock::ScopedOverride
*/
class PvClock {
public:
    using Source = std::function<double()>;

    /// The current time in seconds.
    static double now();

    /// Installs source as the clock and returns the one it replaces (an empty function
    /// stands for the default source). An empty source restores the default.
    static Source setSource(Source source);

    /**
        Replaces the clock for the lifetime of the object and puts the previous source back
        when it is destroyed. Overrides nest; destroy them in reverse order.

        Made from a time in seconds, it is a manual clock that stands still until set() or
        advance() moves it. Made from a function, it reads that function.
    */
    class ScopedOverride {
    public:
        explicit ScopedOverride(double start = 0.0);
        explicit ScopedOverride(Source source);
        ~ScopedOverride();
        ScopedOverride(const ScopedOverride&) = delete;
        ScopedOverride& operator=(const ScopedOverride&) = delete;

        /// The manual clock's time; moves it (backwards too, if a test wants that).
        double time() const { return *m_time; }
        void set(double seconds) { *m_time = seconds; }
        void advance(double seconds) { *m_time += seconds; }

    private:
        std::shared_ptr<double> m_time;
        Source m_previous;
    };
};
