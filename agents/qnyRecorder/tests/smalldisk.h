// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <sys/mount.h>

namespace recorder::testing {

// A disk that is soon full: a small one in memory, mounted on a directory, which only root may do. Gone with the
// object.
class SmallDisk
{
public:
    SmallDisk(std::string directory, const char* options)
        : m_directory(std::move(directory))
    {
        m_isMounted = ::mount("tmpfs", m_directory.c_str(), "tmpfs", 0, options) == 0;
    }
    ~SmallDisk()
    {
        if (m_isMounted) {
            // Detached at once: a recorder that has only just ended may still hold a file on it.
            ::umount2(m_directory.c_str(), MNT_DETACH);
        }
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool isMounted() const { return m_isMounted; }

private:
    std::string m_directory;
    bool m_isMounted = false;
};

} // namespace recorder::testing
