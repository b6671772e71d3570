// SPDX-License-Identifier: Apache-2.0
#include "corvanemodule.h"

CorvaneModule::CorvaneModule(QObject* parent)
    : QObject(parent)
{
}

CorvaneModule::~CorvaneModule() = default;

void CorvaneModule::onSystemDocumentChanged() { }
