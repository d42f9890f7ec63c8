#include "tests/app/AssistiveClient.h"

#include <QDBusMetaType>

namespace kelmo {

namespace {

// The protocol's numbers.
constexpr uint focusable = 11;
constexpr uint showing = 25;
constexpr int callMs = 10'000;

constexpr const char* accessible = "org.a11y.atspi.Accessible";
constexpr const char* properties = "org.freedesktop.DBus.Properties";
constexpr const char* textInterface = "org.a11y.atspi.Text";

QString latin(const char* text) { return QString::fromLatin1(text); }

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const AccessibleReference& reference)
{
    argument.beginStructure();
    argument << reference.service << reference.path;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, AccessibleReference& reference)
{
    argument.beginStructure();
    argument >> reference.service >> reference.path;
    argument.endStructure();
    return argument;
}

AssistiveClient::~AssistiveClient()
{
    for (const char* connection : {"assistive", "assistive-session"})
        QDBusConnection::disconnectFromBus(latin(connection));
}

bool AssistiveClient::start(const QString& sessionAddress)
{
    qDBusRegisterMetaType<AccessibleReference>();
    qDBusRegisterMetaType<QList<AccessibleReference>>();
    QDBusConnection session = QDBusConnection::connectToBus(sessionAddress, latin("assistive-session"));
    const auto onSession = [&](const char* interface, const char* method, const QVariantList& arguments) {
        QDBusMessage request = QDBusMessage::createMethodCall(
            latin("org.a11y.Bus"), latin("/org/a11y/bus"), latin(interface), latin(method));
        request.setArguments(arguments);
        return session.call(request, QDBus::Block, callMs);
    };
    const QDBusMessage address = onSession("org.a11y.Bus", "GetAddress", {});
    if (address.type() != QDBusMessage::ReplyMessage)
        return false;
    onSession(
        properties, "Set", {latin("org.a11y.Status"), latin("IsEnabled"), QVariant::fromValue(QDBusVariant(true))});
    m_bus = QDBusConnection::connectToBus(address.arguments().value(0).toString(), latin("assistive"));
    const AccessibleReference registry{
        latin("org.a11y.atspi.Registry"), QDBusObjectPath(latin("/org/a11y/atspi/registry"))};
    for (const char* event : {"object:text-caret-moved", "object:text-changed", "object:text-selection-changed"})
        call(registry, "org.a11y.atspi.Registry", latin("RegisterEvent"), {latin(event)});
    for (const char* signal : {"TextCaretMoved", "TextChanged", "TextSelectionChanged"})
        m_bus.connect({}, {}, latin("org.a11y.atspi.Event.Object"), latin(signal), this, SLOT(note(QDBusMessage)));
    return m_bus.isConnected();
}

void AssistiveClient::note(const QDBusMessage& event)
{
    const QVariantList arguments = event.arguments();
    m_events.push_back({event.member(), arguments.value(0).toString(), arguments.value(1).toInt(),
        arguments.value(2).toInt(), arguments.value(3).value<QDBusVariant>().variant().toString()});
}

QVariantList AssistiveClient::call(
    const AccessibleReference& reference, const char* interface, const QString& method, const QVariantList& arguments)
{
    QDBusMessage request
        = QDBusMessage::createMethodCall(reference.service, reference.path.path(), latin(interface), method);
    request.setArguments(arguments);
    const QDBusMessage answer = m_bus.call(request, QDBus::Block, callMs);
    return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments() : QVariantList();
}

std::vector<AccessibleReference> AssistiveClient::everything()
{
    std::vector<AccessibleReference> found;
    const AccessibleReference root{
        latin("org.a11y.atspi.Registry"), QDBusObjectPath(latin("/org/a11y/atspi/accessible/root"))};
    const QVariantList programs = call(root, accessible, latin("GetChildren"), {});
    for (const AccessibleReference& program :
        qdbus_cast<QList<AccessibleReference>>(programs.value(0).value<QDBusArgument>())) {
        const QVariantList windows = call(program, accessible, latin("GetChildren"), {});
        for (const AccessibleReference& window :
            qdbus_cast<QList<AccessibleReference>>(windows.value(0).value<QDBusArgument>()))
            gather(window, found);
    }
    return found;
}

void AssistiveClient::gather(const AccessibleReference& from, std::vector<AccessibleReference>& found)
{
    if (!hasState(from, showing))
        return;
    found.push_back(from);
    const QVariantList children = call(from, accessible, latin("GetChildren"), {});
    for (const AccessibleReference& child :
        qdbus_cast<QList<AccessibleReference>>(children.value(0).value<QDBusArgument>()))
        gather(child, found);
}

bool AssistiveClient::hasState(const AccessibleReference& reference, uint bit)
{
    const QVariantList answer = call(reference, accessible, latin("GetState"), {});
    const QList<uint> states = qdbus_cast<QList<uint>>(answer.value(0).value<QDBusArgument>());
    return !states.isEmpty() && (states[0] >> bit & 1) != 0;
}

bool AssistiveClient::isFocusable(const AccessibleReference& reference) { return hasState(reference, focusable); }

QString AssistiveClient::name(const AccessibleReference& reference)
{
    const QVariantList answer = call(reference, properties, latin("Get"), {latin(accessible), latin("Name")});
    return answer.value(0).value<QDBusVariant>().variant().toString();
}

QString AssistiveClient::description(const AccessibleReference& reference)
{
    const QVariantList answer = call(reference, properties, latin("Get"), {latin(accessible), latin("Description")});
    return answer.value(0).value<QDBusVariant>().variant().toString();
}

QString AssistiveClient::roleName(const AccessibleReference& reference)
{
    return call(reference, accessible, latin("GetRoleName"), {}).value(0).toString();
}

std::optional<QString> AssistiveClient::text(const AccessibleReference& reference)
{
    const QVariantList answer = onText(reference, latin("GetText"), {0, -1});
    return answer.isEmpty() ? std::nullopt : std::optional(answer[0].toString());
}

AccessibleReference AssistiveClient::find(const QString& name)
{
    const std::vector<AccessibleReference> all = everything();
    const auto found = std::find_if(
        all.begin(), all.end(), [&](const AccessibleReference& each) { return this->name(each) == name; });
    return found == all.end() ? AccessibleReference() : *found;
}

void AssistiveClient::press(const AccessibleReference& button)
{
    call(button, "org.a11y.atspi.Action", latin("DoAction"), {0});
}

QVariantList AssistiveClient::onText(
    const AccessibleReference& reference, const QString& method, const QVariantList& arguments)
{
    return call(reference, textInterface, method, arguments);
}

} // namespace kelmo
