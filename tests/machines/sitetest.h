// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "site.h"

#include <QtTest/QTest>
#include <QtWidgets/QApplication>

#include <functional>
#include <optional>

/// A test whose process is the host on a machine of its own, and which is skipped where no machines can be made.
class SiteTest : public QObject
{
    Q_OBJECT

public:
    /// As main(): makes the machines, moves into the host's, and runs the test. `build` plugs them together, and says
    /// what went wrong.
    template <class Test> static int run(int argc, char** argv, const std::function<QString(VirtualNetwork&)>& build)
    {
        // Before there are threads: they stay on the network on which they are started.
        Test test;
        test._whySkipped = machinesProblem();
        if (test._whySkipped.isEmpty()) {
            test._network.emplace();
            test._problem = build(*test._network);
        }
        if (test._network && test._problem.isEmpty()) {
            test._problem = test._network->machine(Site::HOST)->moveIn();
        }
        const QApplication application(argc, argv);
        return QTest::qExec(&test, argc, argv);
    }

protected Q_SLOTS:
    void initTestCase()
    {
        if (!_whySkipped.isEmpty()) {
            QSKIP(qPrintable(_whySkipped));
        }
        QCOMPARE(_problem, "");
        QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!This plugin does not support)")));
        _site.emplace(*_network);
        QCOMPARE(_site->startHost(), "");
    }

    void cleanupTestCase() { _site.reset(); }

protected:
    VirtualNetwork& network() { return *_network; }
    Site& site() { return *_site; }

private:
    QString _whySkipped;
    QString _problem;
    std::optional<VirtualNetwork> _network;
    std::optional<Site> _site;
};
