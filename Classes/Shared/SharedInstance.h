#pragma once

#include <mutex>

/// The single instance of `T` in this process: made on first use under a lock, never freed. `T` has a private default
/// constructor and names `SharedInstance<T>` its friend. Any thread.
template <class T>
class SharedInstance final
{
public:
    /// Makes the instance and answers it, or nullptr when there is one already.
    static T *alloc()
    {
        const std::lock_guard lock(s_mutex);
        return s_instance ? nullptr : create();
    }

    static T *shared()
    {
        const std::lock_guard lock(s_mutex);
        return s_instance ? s_instance : create();
    }

private:
    static T *create()
    {
        // Known before it is initialised: what an initialiser calls may ask for the instance.
        s_instance = new T;
        s_instance->init();
        return s_instance;
    }

    inline static std::recursive_mutex s_mutex;
    inline static T *s_instance = nullptr;
};
