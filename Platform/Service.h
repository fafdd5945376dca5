#pragma once

#include <cassert>

/// The one place where a service of the platform is found. `main` installs each service once, before any thread
/// starts; a test puts another in its place with `Override`.
template <class T>
class Service
{
public:
    static bool isInstalled() { return s_current != nullptr; }

    static T &current()
    {
        assert(s_current && "the service was not installed");
        return *s_current;
    }

    /// `service` must outlive its use.
    static void install(T *service) { s_current = service; }

    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;
    virtual ~Service() = default;

protected:
    Service() = default;

private:
    inline static T *s_current = nullptr;
};

/// Puts `service` in place of the installed one for the length of a scope.
template <class T>
class Override final
{
public:
    explicit Override(T &service) : m_previous(T::isInstalled() ? &T::current() : nullptr) { T::install(&service); }
    ~Override() { T::install(m_previous); }

    Override(const Override &) = delete;
    Override &operator=(const Override &) = delete;

private:
    T *m_previous;
};
