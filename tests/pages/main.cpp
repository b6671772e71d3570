// SPDX-License-Identifier: Apache-2.0
#include "pagesprogram.h"
#include "pagetest.h"

#include <QtTest/QtTest>

namespace {

bool hasFunction(const QObject& test, const QString& argument)
{
    const QByteArray function = argument.section(u':', 0, 0).toLatin1() + "()";
    return test.metaObject()->indexOfMethod(function.constData()) >= 0;
}

} // namespace

// Takes the arguments of every Qt Test program. Functions that are named run in the class that has them.
int main(int argc, char** argv)
{
    int result = 0;
    {
        PagesProgram program(argc, argv);
        const QStringList arguments = QCoreApplication::arguments();
        const auto isFunction = [&arguments](const QString& argument) {
            return argument != arguments.first() && std::ranges::any_of(PageTests::all(), [&argument](const auto& test) {
                return hasFunction(*test, argument);
            });
        };
        const bool isChosen = std::ranges::any_of(arguments, isFunction);
        for (const std::unique_ptr<QObject>& test : PageTests::all()) {
            QStringList own = arguments;
            own.removeIf([&](const QString& argument) { return isFunction(argument) && !hasFunction(*test, argument); });
            if (!isChosen || std::ranges::any_of(own, isFunction)) {
                result += QTest::qExec(test.get(), own);
            }
        }
        PageTests::all().clear();
    }
    return result;
}
