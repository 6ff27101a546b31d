#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

namespace CorvelTest {

// The child an operator (or a screen reader) would name: by accessible name, text or object name.
template <typename T> T* named(const QObject* root, const QString& name)
{
    for (T* candidate : root->findChildren<T*>())
        if (candidate->property("accessibleName").toString() == name ||
            candidate->property("text").toString() == name || candidate->objectName() == name)
            return candidate;
    return nullptr;
}

} // namespace CorvelTest
