// SPDX-License-Identifier: Apache-2.0
// The host on the smallest display that it is made for.
#include "display.h"
#include "hand.h"
#include "processes.h"
#include "shownwindow.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <memory>

namespace {

constexpr QSize displaySize(800, 600);
constexpr int boundMs = 20'000;

} // namespace

class tst_small_display : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theWindowIsNoLargerThanTheDisplay();
    void theFarthestControlsCanBePressed();
    void cleanupTestCase();

private:
    QTemporaryDir _folder;
    std::unique_ptr<UnseenDisplay> _display;
    std::unique_ptr<ShownWindow> _window;
    QProcess _host;
};

void tst_small_display::initTestCase()
{
    QVERIFY(makeHome(_folder.path()));
    _display = std::make_unique<UnseenDisplay>(displaySize, _folder.path());
    QString error;
    QVERIFY2(_display->start(&error), qPrintable(error));
    _window = std::make_unique<ShownWindow>(_folder.filePath("controls.json"));
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    _host.setProcessEnvironment(environmentOf(_folder.path(), _display->name()));
    _host.setProcessChannelMode(QProcess::MergedChannels);
    bind(&_host);
    _host.start(QStringLiteral(RR_HOST), { "--report-controls", _folder.filePath("controls.json") });
    QVERIFY2(_host.waitForStarted(boundMs), qPrintable(_host.errorString()));
    QTRY_VERIFY_WITH_TIMEOUT(_window->named("connectButton"), boundMs);
}

void tst_small_display::theWindowIsNoLargerThanTheDisplay()
{
    constexpr int titleHeight = 40; // a window manager would put that above it
    const QRect screen(QPoint(0, 0), displaySize - QSize(0, titleHeight));
    const QList<Control> controls = _window->controls();
    QVERIFY(controls.size() > 20);
    for (const Control& one : controls) {
        QVERIFY2(screen.contains(one.rectangle), qPrintable(one.name + ' ' + one.text));
    }
}

void tst_small_display::theFarthestControlsCanBePressed()
{
    Hand hand(_display->name());
    hand.click(_window->named("networkButton")->middle());
    QTRY_VERIFY_WITH_TIMEOUT(_window->named("closeNetworkButton"), boundMs);
    hand.key("Escape");
    QTRY_VERIFY_WITH_TIMEOUT(!_window->named("closeNetworkButton"), boundMs);
    hand.click(_window->named("connectButton")->middle());
    QTRY_VERIFY_WITH_TIMEOUT(_window->withText("Ready"), boundMs);
    hand.key("ctrl+q");
    QTRY_COMPARE_WITH_TIMEOUT(_host.state(), QProcess::NotRunning, boundMs);
    QCOMPARE(_host.exitCode(), 0);
}

void tst_small_display::cleanupTestCase()
{
    end(&_host);
    endProcessesOf(_folder.path()); // a recorder outlives the host
    QTRY_VERIFY_WITH_TIMEOUT(processesOf(_folder.path()).isEmpty(), boundMs);
}

QTEST_GUILESS_MAIN(tst_small_display)
#include "tst_small_display.moc"
