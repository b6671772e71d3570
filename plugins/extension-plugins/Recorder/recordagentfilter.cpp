// SPDX-License-Identifier: Apache-2.0
#include "recordagentfilter.h"

#include <zqproperty.h>

#include <QtQml/QJSEngine>

RecordAgentFilter::RecordAgentFilter(const QString& name, QObject* parent)
    : QObject(parent)
    , _name(name)
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

RecordAgentFilter::~RecordAgentFilter() = default;

void RecordAgentFilter::setchecked(bool checked)
{
    ZqProperty::assign(this, _checked, checked, &RecordAgentFilter::checkedChanged);
}
