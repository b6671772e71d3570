// SPDX-License-Identifier: Apache-2.0
#include "arrows.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

namespace {

const char* const rules = "| Folder | Target | May use |\n|---|---|---|\n"
                          "| `quenary/` | `libquenary`, a C API | libzmq; no Qt |\n"
                          "| `toolkit/` | `libZqToolkit` | Qt Core, Qml |\n"
                          "| `framework/` | `libCorvaneFramework` | quenary, toolkit |\n"
                          "| `plugins/P/`, `qml/` | `P`, the plugin | framework, toolkit, `quenary.h` |\n"
                          "| `host/` | `corvane` | framework, toolkit |\n"
                          "| `agents/samples/` | `qnySample…` | quenary |\n"
                          "| `tests/` | what crosses rooms | all |\n";

QString text(const QList<Arrow>& arrows)
{
    QStringList lines;
    for (const Arrow& arrow : arrows) {
        lines.append(QStringLiteral("%1: %2 uses %3").arg(arrow.place, arrow.from, arrow.to));
    }
    return lines.join(QLatin1Char('\n'));
}

} // namespace

class TestArrows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        _tree = std::make_unique<QTemporaryDir>();
        QVERIFY(_tree->isValid());
        _write("quenary/include/quenary.h", "#include <zmq.h>\n");
        _write("toolkit/include/zqlist.h", "#include <QAbstractListModel>\n");
        _write(
            "framework/include/document.h", "#include \"zqlist.h\"\n#include <QtCore/QObject>\n#include <quenary.h>\n");
        _write("plugins/P/p.h", "#include \"document.h\"\n#include <quenary.h>\n");
        _write("host/window.h", "#include \"document.h\"\n#include \"local.h\"\n");
        _write("host/local.h", "");
        _write("agents/samples/local.h", "#include <quenary.h>\n#include <vector>\n");
    }

    void rulesAreReadFromTheTable()
    {
        const QList<Room> rooms = readRooms(rules);
        QCOMPARE(rooms.size(), 6);
        QCOMPARE(rooms.at(0).folder, "quenary");
        QCOMPARE(rooms.at(0).target, "quenary");
        QVERIFY(!rooms.at(0).mayUseQt);
        QVERIFY(rooms.at(1).mayUseQt);
        QCOMPARE(rooms.at(3).mayUse, QSet<QString>({ "CorvaneFramework", "ZqToolkit", "quenary" }));
        QCOMPARE(rooms.at(5).folder, "agents/samples");
        QVERIFY(!rooms.at(5).mayUseQt);
    }

    void aTreeThatKeepsTheRulesHasNoForbiddenArrow()
    {
        const QList<Arrow> arrows = _arrows();
        QVERIFY(arrows.size() >= 8);
        QCOMPARE(text(forbidden(arrows, readRooms(rules))), "");
    }

    void aForbiddenUseIsFound_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("expected");
        QTest::newRow("Qt in the network")
            << "quenary/src/a.cpp" << QByteArray("\n#include <QString>\n") << "quenary/src/a.cpp:2: quenary uses Qt";
        QTest::newRow("Qt by folder") << "agents/samples/a.cpp" << QByteArray("#include <QtCore/QString>\n")
                                      << "agents/samples/a.cpp:1: agents/samples uses Qt";
        QTest::newRow("upwards") << "toolkit/src/a.cpp" << QByteArray("#include \"document.h\"\n")
                                 << "toolkit/src/a.cpp:1: toolkit uses CorvaneFramework";
        QTest::newRow("around the framework")
            << "host/a.cpp" << QByteArray("#include <quenary.h>\n") << "host/a.cpp:1: host uses quenary";
        QTest::newRow("the plugin from the host")
            << "host/a.cpp" << QByteArray("#include \"../plugins/P/p.h\"\n") << "host/a.cpp:1: host uses plugins/P";
        QTest::newRow("the host from the plugin")
            << "plugins/P/p.cpp" << QByteArray("#include \"window.h\"\n") << "plugins/P/p.cpp:1: plugins/P uses host";
        QTest::newRow("link line") << "host/CMakeLists.txt"
                                   << QByteArray("# target_link_libraries(x zmq)\ntarget_link_libraries(corvane "
                                                 "PRIVATE\n    CorvaneFramework quenary)\n")
                                   << "host/CMakeLists.txt:2: host uses quenary";
        QTest::newRow("Qt link line") << "agents/samples/CMakeLists.txt"
                                      << QByteArray("target_link_libraries(a PRIVATE quenary Qt6::Core)\n")
                                      << "agents/samples/CMakeLists.txt:1: agents/samples uses Qt";
    }

    void aForbiddenUseIsFound()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, content);
        QFETCH(QString, expected);
        _write(file, content);
        QCOMPARE(text(forbidden(_arrows(), readRooms(rules))), expected);
    }

    void testsMayUseEverything()
    {
        _write("toolkit/tests/a.cpp", "#include \"document.h\"\n");
        QCOMPARE(text(forbidden(_arrows(), readRooms(rules))), "");
    }

    void thisSourceTreeKeepsItsRules()
    {
        const QDir root(QStringLiteral(RR_SOURCE_DIR));
        QFile architecture(root.filePath("docs/architecture.md"));
        QVERIFY2(architecture.open(QIODevice::ReadOnly), qPrintable(architecture.fileName()));
        const QList<Room> rooms = readRooms(QString::fromUtf8(architecture.readAll()));
        for (const char* folder : { "quenary", "toolkit", "framework", "plugins/extension-plugins/Recorder", "host",
                 "agents/qnyRecorder", "agents/qnyLauncher", "agents/samples" }) {
            QVERIFY2(std::any_of(rooms.cbegin(), rooms.cend(),
                         [&](const Room& room) { return room.folder == QLatin1String(folder); }),
                folder);
        }
        const QList<Arrow> arrows = readArrows(root.path(), rooms);
        QVERIFY2(arrows.size() > 100, "so few arrows mean that the sources were not read");
        QCOMPARE(text(forbidden(arrows, rooms)), "");
    }

private:
    void _write(const QString& path, const QByteArray& content)
    {
        const QString full = _tree->filePath(path);
        QVERIFY(QDir().mkpath(QFileInfo(full).path()));
        QFile file(full);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QList<Arrow> _arrows() const { return readArrows(_tree->path(), readRooms(rules)); }

    std::unique_ptr<QTemporaryDir> _tree;
};

QTEST_APPLESS_MAIN(TestArrows)
#include "tst_arrows.moc"
