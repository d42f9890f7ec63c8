#pragma once

#include "share/Sharer.h"
#include "views/window/ConnectionTest.h"

#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace kelmo {

class Button;
class Toggle;

/// The content of the settings window: sharing, the account, privacy. Every change is kept at once. Main thread.
class SettingsView : public QWidget {
    Q_OBJECT

public:
    SettingsView(Sharer& sharer, QWidget* parent);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void addSharing(QVBoxLayout& column);
    [[nodiscard]] QWidget* configuredSharing();
    [[nodiscard]] QWidget* unconfiguredSharing();
    void addAccount(QVBoxLayout& column);
    void addPrivacy(QVBoxLayout& column);
    void refresh();
    void change(const std::function<void(Sharer::Config&)>& edit);
    [[nodiscard]] QString accountText() const;

    Sharer& m_sharer;
    ConnectionTest m_test;
    QWidget* m_configured = nullptr; ///< Children, like the others.
    QWidget* m_unconfigured = nullptr;
    Toggle* m_autoShare = nullptr;
    Button* m_quality = nullptr;
    QLabel* m_server = nullptr;
    QLabel* m_status = nullptr;
    QLabel* m_account = nullptr;
    QLabel* m_accountCaption = nullptr;
};

} // namespace kelmo
