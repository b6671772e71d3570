// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/qglobal.h>

#ifdef ZQTOOLKIT_LIBRARY
#define ZQTOOLKIT_EXPORT Q_DECL_EXPORT
#else
#define ZQTOOLKIT_EXPORT Q_DECL_IMPORT
#endif
