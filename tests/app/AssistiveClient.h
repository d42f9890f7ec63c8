#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>

#include <optional>

namespace kelmo {

/// Something in a program as assistive technology refers to it: who answers for it, and under which path.
struct AccessibleReference {
    QString service;
    QDBusObjectPath path;
};
QDBusArgument& operator<<(QDBusArgument& argument, const AccessibleReference& reference);
const QDBusArgument& operator>>(const QDBusArgument& argument, AccessibleReference& reference);

/// A screen reader's side of the accessibility bus. Owned by the test; main thread. Its calls wait for the answer.
class AssistiveClient : public QObject {
    Q_OBJECT

public:
    /// An event about a text, as it arrived.
    struct Event {
        QString name;
        QString kind;
        int first = 0;
        int second = 0;
        QString text;
    };

    AssistiveClient() = default;
    ~AssistiveClient() override;

    /// Says on the session bus that a screen reader runs, and listens. Whether that worked.
    [[nodiscard]] bool start(const QString& sessionAddress);

    /// Everything in all programs that is on show, in depth-first order.
    [[nodiscard]] std::vector<AccessibleReference> everything();

    [[nodiscard]] QString name(const AccessibleReference& reference);
    [[nodiscard]] QString description(const AccessibleReference& reference);
    [[nodiscard]] QString roleName(const AccessibleReference& reference);
    [[nodiscard]] bool isFocusable(const AccessibleReference& reference);
    /// Nothing when it has no text.
    [[nodiscard]] std::optional<QString> text(const AccessibleReference& reference);

    /// Calls a method of its text.
    QVariantList onText(const AccessibleReference& reference, const QString& method, const QVariantList& arguments);

    /// The thing on show with this name; without a service when there is none.
    [[nodiscard]] AccessibleReference find(const QString& name);
    void press(const AccessibleReference& button);

    [[nodiscard]] const std::vector<Event>& events() const { return m_events; }

    Q_SLOT void note(const QDBusMessage& event);

private:
    QVariantList call(const AccessibleReference& reference, const char* interface, const QString& method,
        const QVariantList& arguments);
    void gather(const AccessibleReference& from, std::vector<AccessibleReference>& found);
    [[nodiscard]] bool hasState(const AccessibleReference& reference, uint bit);

    QDBusConnection m_bus = QDBusConnection(QString());
    std::vector<Event> m_events;
};

} // namespace kelmo

Q_DECLARE_METATYPE(kelmo::AccessibleReference)
