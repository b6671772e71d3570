// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/qglobal.h>

#if defined(CORVANE_FRAMEWORK_LIBRARY)
#define CORVANE_EXPORT Q_DECL_EXPORT
#else
#define CORVANE_EXPORT Q_DECL_IMPORT
#endif

// Framework headers name list models only by pointer, so that they stay cheap to include.
class AbstractZqCustomItemListModel;
template <class T> class ZqCustomItemListModel;
