// SPDX-License-Identifier: Apache-2.0
// The two views whose items are recorders and instances of recorders.
#include "brokeninvariant.h"

#include <recorder.h>
#include <recorderinstance.h>
#include <sortfilterrecorder.h>
#include <sortfilterrecorderinstance.h>

#include <library.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>

#include <QtTest/QTest>

#include <memory>
#include <vector>

class TestSortedRecorders : public QObject
{
    Q_OBJECT

    Library _library;
    SystemDocument _document { &_library };
    SystemView _systemView { QString(), QStringLiteral("view"), &_document };
    EncounteredAgentsOnHost _group { nullptr, nullptr };
    std::vector<std::unique_ptr<SystemViewClassInstance>> _classInstances;
    std::vector<std::unique_ptr<Recorder>> _recorders;
    std::vector<std::unique_ptr<RecorderInstance>> _instances;

    Recorder* newRecorder(const QString& name)
    {
        _classInstances.push_back(
            std::make_unique<SystemViewClassInstance>(QString(), nullptr, name, QPointF(), &_systemView));
        _recorders.push_back(std::make_unique<Recorder>(_classInstances.back().get(), QString(), nullptr));
        return _recorders.back().get();
    }

    RecorderInstance* newInstance(const QString& endpoint)
    {
        const QString option = endpoint.isEmpty() ? QString() : QStringLiteral(" --cassandra ") + endpoint;
        auto* const info = new EncounteredAgentInfo(QString(), QStringLiteral("/recorder") + option, &_group);
        _instances.push_back(std::make_unique<RecorderInstance>(
            &_systemView, nullptr, &_group, info, QStringLiteral("/recorder"), nullptr));
        return _instances.back().get();
    }

    static QString names(const SortFilterRecorder& view)
    {
        QStringList names;
        for (int row = 0; row < view.count(); ++row) {
            names.append(qobject_cast<Recorder*>(view.get(row))->classInstance()->name());
        }
        return names.join(u' ');
    }

private slots:
    void init() { QTest::failOnWarning(); }

    void cleanup()
    {
        _recorders.clear();
        _classInstances.clear();
        _instances.clear();
    }

    void eachViewShowsItsOwnKindOnly()
    {
        Recorder* const recorder = newRecorder(QStringLiteral("r"));
        RecorderInstance* const instance = newInstance(QString());
        const SortFilterRecorder recorders;
        const SortFilterRecorderInstance instances;
        QVERIFY(recorders.filterAccepts(recorder, 3));
        QVERIFY(!recorders.filterAccepts(instance, 3));
        QVERIFY(!recorders.filterAccepts(nullptr, 3));
        QVERIFY(instances.filterAccepts(instance, 3));
        QVERIFY(!instances.filterAccepts(recorder, 3));
        QVERIFY(!instances.filterAccepts(nullptr, 3));
    }

    void recordersAreSortedByNameUpperCaseFirst()
    {
        ZqCustomItemListModel<Recorder> list;
        list.appendRows(
            { newRecorder(QStringLiteral("a")), newRecorder(QStringLiteral("C")), newRecorder(QStringLiteral("B")) });
        SortFilterRecorder view;
        view.setSourceModel(&list);
        QCOMPARE(names(view), QStringLiteral("B C a"));
    }

    void recordersOfTheSameNameKeepTheirSourceOrder()
    {
        Recorder* const first = newRecorder(QStringLiteral("same"));
        Recorder* const second = newRecorder(QStringLiteral("same"));
        const SortFilterRecorder view;
        QVERIFY(view.isLessThan(first, 0, second, 1));
        QVERIFY(!view.isLessThan(second, 1, first, 0));
        QVERIFY(view.isLessThan(second, 0, first, 1));
    }

    void aRenamedRecorderMovesWhenTheViewIsInvalidated()
    {
        ZqCustomItemListModel<Recorder> list;
        list.appendRows({ newRecorder(QStringLiteral("a")), newRecorder(QStringLiteral("b")) });
        SortFilterRecorder view;
        view.setSourceModel(&list);
        _classInstances.front()->setname(QStringLiteral("c"));
        view.invalidate();
        QCOMPARE(names(view), QStringLiteral("b c"));
    }

    void aRecorderThatLosesItsClassInstanceDoesNotBreakTheView()
    {
        ZqCustomItemListModel<Recorder> list;
        list.appendRows(
            { newRecorder(QStringLiteral("b")), newRecorder(QStringLiteral("a")), newRecorder(QStringLiteral("c")) });
        SortFilterRecorder view;
        view.setSourceModel(&list);
        _classInstances.at(1).reset();
        QCOMPARE(view.count(), 3);
        view.invalidate();
        QCOMPARE(view.count(), 3);
        list.removeObject(_recorders.at(1).get());
        QCOMPARE(names(view), QStringLiteral("b c"));
    }

    void comparingAnythingButRecordersWithAClassInstanceIsABrokenInvariant()
    {
        Recorder* const recorder = newRecorder(QStringLiteral("r"));
        Recorder* const orphan = newRecorder(QStringLiteral("o"));
        _classInstances.back().reset();
        QObject stranger;
        const SortFilterRecorder view;
        const auto asked = [&view](QObject* left, QObject* right) {
            return messageOfBrokenInvariant([&] { std::ignore = view.isLessThan(left, 0, right, 1); });
        };
        QVERIFY(asked(&stranger, recorder).contains("ASSERT: \"recorder1\""));
        QVERIFY(asked(recorder, &stranger).contains("ASSERT: \"recorder2\""));
        QVERIFY(asked(orphan, recorder).contains("ASSERT: \"classInstance1\""));
        QVERIFY(asked(recorder, orphan).contains("ASSERT: \"classInstance2\""));
        QCOMPARE(asked(recorder, recorder), QByteArray());
    }

    void instancesAreSortedByDatabase()
    {
        RecorderInstance* const b = newInstance(QStringLiteral("hostb:9042"));
        RecorderInstance* const upper = newInstance(QStringLiteral("Hosta:9042"));
        RecorderInstance* const a = newInstance(QStringLiteral("hosta:9042"));
        RecorderInstance* const none = newInstance(QString());
        ZqCustomItemListModel<RecorderInstance> list;
        list.appendRows({ b, upper, a, none });
        SortFilterRecorderInstance view;
        view.setSourceModel(&list);
        QCOMPARE(view.get(0), none);
        QCOMPARE(view.get(1), upper);
        QCOMPARE(view.get(2), a);
        QCOMPARE(view.get(3), b);
    }

    void anInstanceThatRecordsElsewhereMovesInItsRecordersView()
    {
        // The host's own document, which the settings of a launch line belong to.
        SystemDocumentHandler::instance()->newDocument();
        auto* const classInstance = qobject_cast<SystemViewClassInstance*>(
            SystemDocumentHandler::instance()->createInstance(ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID));
        QVERIFY(classInstance);
        Recorder recorder(classInstance, QStringLiteral("/recorder"), nullptr);
        EncounteredAgentsOnHost* const group = classInstance->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
        for (const QString& endpoint : { QStringLiteral("b:1"), QStringLiteral("c:1"), QStringLiteral("d:1") }) {
            classInstance->getOrCreateEncounteredAgentInfo(group, QStringLiteral("/recorder --cassandra ") + endpoint);
        }
        SortFilterRecorderInstance* const view = recorder.sortedInstances();
        const auto endpoints = [view] {
            QStringList shown;
            for (int row = 0; row < view->count(); ++row) {
                const QString endpoint = qobject_cast<RecorderInstance*>(view->get(row))->cassandraEndpoint();
                // A new recorder brings a launch line of its own.
                if (endpoint.endsWith(QStringLiteral(":1"))) {
                    shown.append(endpoint);
                }
            }
            return shown.join(u' ');
        };
        QCOMPARE(endpoints(), QStringLiteral("b:1 c:1 d:1"));
        for (RecorderInstance* instance : recorder.recorderInstances()) {
            if (instance->cassandraEndpoint() == QStringLiteral("d:1")) {
                instance->updateCassandraEndpoint(QStringLiteral("a:1"));
            }
        }
        QCOMPARE(endpoints(), QStringLiteral("a:1 b:1 c:1"));
    }

    void instancesOfTheSameDatabaseKeepTheirSourceOrder()
    {
        RecorderInstance* const first = newInstance(QStringLiteral("host:9042"));
        RecorderInstance* const second = newInstance(QStringLiteral("host:9042"));
        ZqCustomItemListModel<RecorderInstance> list;
        list.appendRows({ first, second });
        SortFilterRecorderInstance view;
        view.setSourceModel(&list);
        QCOMPARE(view.get(0), first);
        QCOMPARE(view.get(1), second);
        QVERIFY(view.isLessThan(first, 0, second, 1));
        QVERIFY(!view.isLessThan(second, 1, first, 0));
    }

    void comparingAnythingButInstancesIsABrokenInvariant()
    {
        RecorderInstance* const instance = newInstance(QString());
        QObject stranger;
        const SortFilterRecorderInstance view;
        QVERIFY(messageOfBrokenInvariant([&] {
            std::ignore = view.isLessThan(&stranger, 0, instance, 1);
        }).contains("ASSERT: \"recorderInstance1\""));
        QVERIFY(messageOfBrokenInvariant([&] {
            std::ignore = view.isLessThan(instance, 0, &stranger, 1);
        }).contains("ASSERT: \"recorderInstance2\""));
    }
};

QTEST_GUILESS_MAIN(TestSortedRecorders)
#include "tst_sortedrecorders.moc"
