#include "platform/Error.h"

namespace kelmo {

QString userText(const Error& error)
{
    if (!error.description.isEmpty())
        return error.description;
    return QStringLiteral("The operation couldn’t be completed (%1 error %2).").arg(error.domain).arg(error.code);
}

QString logText(const Error& error)
{
    if (error.description.isEmpty())
        return userText(error);
    return QStringLiteral("%1 (%2 %3)").arg(error.description, error.domain).arg(error.code);
}

} // namespace kelmo
