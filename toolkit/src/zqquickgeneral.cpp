// SPDX-License-Identifier: Apache-2.0
#include "zqquickgeneral.h"

#include "zqproperty.h"

#include <QtQml/QJSEngine>

ZqQuickGeneral::ZqQuickGeneral()
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

ZqQuickGeneral& ZqQuickGeneral::instance()
{
    static ZqQuickGeneral settings;
    return settings;
}

QObject* ZqQuickGeneral::qmlSingleton(QQmlEngine*, QJSEngine*)
{
    return &instance();
}

void ZqQuickGeneral::setwarningsEnabled(bool warningsEnabled)
{
    ZqProperty::assign(this, _warningsEnabled, warningsEnabled, &ZqQuickGeneral::warningsEnabledChanged);
}

void ZqQuickGeneral::seterrorsEnabled(bool errorsEnabled)
{
    ZqProperty::assign(this, _errorsEnabled, errorsEnabled, &ZqQuickGeneral::errorsEnabledChanged);
}
