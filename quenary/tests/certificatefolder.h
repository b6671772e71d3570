// SPDX-License-Identifier: Apache-2.0
// A folder of certificates that goes with the test.
#pragma once

#include "quenary.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace test {

class CertificateFolder
{
public:
    CertificateFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "qny-certificates-XXXXXX").string();
        EXPECT_NE(mkdtemp(pattern.data()), nullptr);
        path = pattern;
    }
    ~CertificateFolder() { std::filesystem::remove_all(path); }
    CertificateFolder(const CertificateFolder&) = delete;
    CertificateFolder& operator=(const CertificateFolder&) = delete;

    std::string file(const std::string& name) const { return path + "/" + name; }
    std::string write(const std::string& name, const std::string& text, mode_t mode = 0600) const
    {
        std::ofstream(file(name), std::ios::binary) << text;
        EXPECT_EQ(chmod(file(name).c_str(), mode), 0);
        return file(name);
    }
    std::string read(const std::string& name) const
    {
        std::ifstream in(file(name), std::ios::binary);
        return { std::istreambuf_iterator<char>(in), {} };
    }
    mode_t mode(const std::string& name) const
    {
        struct stat status
        {
        };
        EXPECT_EQ(stat(file(name).c_str(), &status), 0) << name;
        return status.st_mode & 07777;
    }

    std::string path;
};

} // namespace test
