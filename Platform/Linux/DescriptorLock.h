#pragma once

#include "Platform/FileLock.h"
#include "Platform/Linux/Descriptor.h"

/// A lock of the kernel's that ends with the descriptor it was got on.
class DescriptorLock final : public FileLock
{
public:
    explicit DescriptorLock(Descriptor descriptor)
        : m_descriptor(std::move(descriptor))
    {
    }

private:
    Descriptor m_descriptor;
};
