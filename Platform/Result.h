#pragma once

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <variant>

/// What went wrong, as far as a caller acts on it. "Cannot say" is one of these, never an empty answer.
enum class ErrorCode { NotFound, Exists, Permission, NotSupported, Corrupt, TooLarge, NoSpace, Busy, Io };

/// A failed call of the platform: a code to act on, the errno (0 where there was none) and a context for logs.
struct Failure
{
    ErrorCode code = ErrorCode::Io;
    int systemError = 0;
    std::string context;

    static Failure fromErrno(int systemError, const std::string &operation, const std::filesystem::path &path = {})
    {
        std::string context = operation;
        if (!path.empty())
            context += " " + path.native();
        return {codeOf(systemError), systemError, context + ": " + std::strerror(systemError)};
    }

private:
    static ErrorCode codeOf(int systemError)
    {
        switch (systemError) {
        case ENOENT:
        case ENODATA:
        case ENOTDIR:
            return ErrorCode::NotFound;
        case EEXIST:
            return ErrorCode::Exists;
        case EACCES:
        case EPERM:
        case EROFS:
            return ErrorCode::Permission;
        case ENOTSUP:
        case ENOSYS:
            return ErrorCode::NotSupported;
        case E2BIG:
        case ERANGE:
        case EFBIG:
        case ENAMETOOLONG:
            return ErrorCode::TooLarge;
        case ENOSPC:
        case EDQUOT:
            return ErrorCode::NoSpace;
        case EBUSY:
        case EWOULDBLOCK:
        case ETXTBSY:
            return ErrorCode::Busy;
        default:
            return ErrorCode::Io;
        }
    }
};

/// A value, or why there is none.
template <class T>
class [[nodiscard]] Result final
{
public:
    Result(T value) : m_content(std::in_place_index<0>, std::move(value)) {}
    Result(Failure failure) : m_content(std::in_place_index<1>, std::move(failure)) {}

    explicit operator bool() const { return m_content.index() == 0; }
    T &operator*() & { return std::get<0>(m_content); }
    const T &operator*() const & { return std::get<0>(m_content); }
    T &&operator*() && { return std::get<0>(std::move(m_content)); }
    T *operator->() { return &std::get<0>(m_content); }
    const T *operator->() const { return &std::get<0>(m_content); }
    T valueOr(T other) const { return *this ? std::get<0>(m_content) : std::move(other); }
    const Failure &failure() const { return std::get<1>(m_content); }

private:
    std::variant<T, Failure> m_content;
};

/// Done, or why not.
template <>
class [[nodiscard]] Result<void> final
{
public:
    Result() = default;
    Result(Failure failure) : m_failure(std::move(failure)), m_failed(true) {}

    explicit operator bool() const { return !m_failed; }
    const Failure &failure() const { return m_failure; }

private:
    Failure m_failure;
    bool m_failed = false;
};
