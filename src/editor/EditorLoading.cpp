#include "editor/Editor.h"

#include <QCoroFuture>

namespace kelmo {

void Editor::endLoading()
{
    if (std::optional<QPromise<void>> loading = std::exchange(m_loading, std::nullopt))
        loading->finish();
}

QCoro::Task<Result<void>> Editor::whenLoaded()
{
    if (!m_loading)
        co_return {};
    const QPointer<Editor> self(this);
    const int takeCount = m_takeCount;
    const QFuture<void> loading = m_loading->future();
    co_await loading;
    if (!self || m_takeCount != takeCount)
        co_return failure(QStringLiteral("Editor"), 7, QStringLiteral("The take was closed before it was loaded"));
    co_return {};
}

/// What a command that needs the media answers without it.
Error Editor::whyNotLoaded() const
{
    if (!m_openError)
        return {QStringLiteral("Editor"), 1, QStringLiteral("No take open")};
    return {m_openError->domain, m_openError->code, QStringLiteral("Couldn't open: ") % userText(*m_openError)};
}

} // namespace kelmo
