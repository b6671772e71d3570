// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QObject>

#include <memory>
#include <vector>

/// The tests of the pages are one program of several classes: each file registers its own, main() runs them all.
class PageTests
{
public:
    using Tests = std::vector<std::unique_ptr<QObject>>;

    static Tests& all()
    {
        static Tests tests;
        return tests;
    }
};

template <typename Test> struct RegisterPageTest
{
    RegisterPageTest() { PageTests::all().push_back(std::make_unique<Test>()); }
};
