#pragma once

#include <utility>

#include <unistd.h>

/// A file descriptor. The destructor closes it. -1 stands for no descriptor.
class FileDescriptor final
{
public:
    explicit FileDescriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor()
    {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }

    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};
