#pragma once

#include "app/AppDelegate.h"
#include "tests/editor/TakeFolder.h"
#include "tests/support/TemporaryHome.h"

#include <gtest/gtest.h>

class QAbstractButton;

namespace kelmo {

/// The program with its window, a home folder and a recordings folder of its own, driven as a person would: with the
/// pointer and the keys. A take of ten seconds is the newest recording.
class WindowFixture : public testing::Test {
protected:
    WindowFixture();
    ~WindowFixture() override;

    /// Starts the program and waits until its window is up and, if there is to be one, its take is loaded.
    void launch(CommandLine commandLine = {});
    void launchWithoutTakes();
    /// Makes the take of the next launch() one whose export takes a while, and whose words are at its start.
    void makeLongTake() const;
    void quit();

    /// Presses and releases a key as the window system would.
    void key(int key, Qt::KeyboardModifiers modifiers = {});
    void type(const QString& text);
    /// The visible control with this accessible name, in the window or in `root`.
    [[nodiscard]] QWidget* control(const QString& name, QWidget* root = nullptr) const;
    [[nodiscard]] QAbstractButton* button(const QString& name, QWidget* root = nullptr) const;
    void click(QWidget* widget);
    void click(const QString& name) { click(control(name)); }
    /// Opens a menu with its button and clicks on a row of it.
    void choose(const QString& buttonName, const QString& row);

    [[nodiscard]] Editor& editor() { return m_app->editor(); }
    [[nodiscard]] EditorWindow& window() { return *m_app->window(); }
    /// Whether this take is open, or becomes so: another one stays until its media is loaded.
    [[nodiscard]] bool shows(const QString& base)
    {
        return waitUntil([&] { return editor().take()->base == base; });
    }
    [[nodiscard]] bool waitUntil(const std::function<bool()>& holds, int timeoutMs = 20'000) const;

    TemporaryHome m_home;
    TakeFolder m_takes;
    std::unique_ptr<AppDelegate> m_app;
    quint16 m_port = 0; ///< Of the agent server.

private:
    void makeTake(int seconds) const;
    void start(CommandLine commandLine);
};

} // namespace kelmo
