#pragma once

#include "Platform/Result.h"

#include <cerrno>
#include <new>
#include <stdexcept>
#include <vector>

/// Writes a list to the front of a buffer that only ever grows; what stands behind the list stays.
template <class Element>
class FrontOfBuffer final
{
public:
    explicit FrontOfBuffer(std::vector<Element> &buffer)
        : m_buffer(buffer)
    {
    }

    /// False when there was no memory for it.
    bool add(const Element &element)
    {
        if (m_count == m_buffer.size() && !enlarge())
            return false;
        m_buffer[m_count++] = element;
        return true;
    }

    /// How long the list is. Errors: NoSpace when something could not be added.
    Result<std::size_t> count() const
    {
        if (m_isOutOfMemory)
            return Failure{ErrorCode::NoSpace, ENOMEM, "out of memory"};
        return m_count;
    }

private:
    bool enlarge()
    {
        try {
            m_buffer.resize(m_count + m_count / 2 + 64);
        } catch (const std::bad_alloc &) {
            m_isOutOfMemory = true;
        } catch (const std::length_error &) {
            m_isOutOfMemory = true;
        }
        return !m_isOutOfMemory;
    }

    std::vector<Element> &m_buffer;
    std::size_t m_count = 0;
    bool m_isOutOfMemory = false;
};
