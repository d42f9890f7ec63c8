#pragma once

#include "editor/Editor.h"

namespace kelmo {

/// Keeps how the user exports from one run to the next: codec, size and frame rate. Owned by the AppDelegate beside
/// the editor; main thread.
class ExportChoices : public QObject {
    Q_OBJECT

public:
    /// Gives the editor what was kept. Requires: the editor outlives this.
    explicit ExportChoices(Editor& editor);

private:
    struct Choices {
        Codec codec;
        std::optional<int> height; ///< Lines; none for native.
        int fps;

        bool operator==(const Choices&) const = default;
    };

    [[nodiscard]] Choices now() const;
    void load();
    void save();

    Editor& m_editor;
    Choices m_kept;
};

} // namespace kelmo
