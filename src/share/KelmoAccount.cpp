#include "share/KelmoAccount.h"

#include "model/JsonFile.h"

namespace kelmo {

std::optional<KelmoAccount> KelmoAccount::fromJson(const QByteArray& json)
{
    const std::optional<QJsonObject> object = JsonFile::parseObject(json);
    if (!object)
        return std::nullopt;
    KelmoAccount account;
    account.endpoint = object->value(u"endpoint").toString();
    account.token = object->value(u"token").toString();
    if (account.endpoint.isEmpty() || account.token.isEmpty())
        return std::nullopt;
    const std::pair<QStringView, std::optional<QString>&> optional[]
        = {{u"email", account.email}, {u"userId", account.userId}};
    for (const auto& [key, field] : optional) {
        const QJsonValue value = object->value(key);
        if (value.isString())
            field = value.toString();
        else if (!value.isUndefined() && !value.isNull())
            return std::nullopt;
    }
    return account;
}

} // namespace kelmo
