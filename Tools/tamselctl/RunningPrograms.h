#pragma once

/// Which of our programs run, as the session bus knows.
struct RunningPrograms
{
    static constexpr const char *kHelper = "com.dovrane.TamselHelper";
    static constexpr const char *kHost = "com.dovrane.Preferences";

    bool isBusThere = false; ///< without it nothing can be said of the two
    bool isHelperRunning = false;
    bool isHostRunning = false;

    /// Asks the bus and waits for its answer.
    static RunningPrograms find();
};

class DistributedNotificationCenter;

/// Waits until all that was posted has reached the bus. Answers whether there is one.
bool flush(DistributedNotificationCenter &center);
