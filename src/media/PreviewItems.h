#pragma once

#include "media/Built.h"
#include "media/FaceCompositor.h"
#include "media/stack/player/PlayerItem.h"

namespace kelmo {

/// Makes edits playable: at the preview's size and rate, with the face drawn over the screen. Keeps the drawing of the
/// circle between edits. Owned by the owner of the player, on its thread.
class PreviewItems {
public:
    [[nodiscard]] std::shared_ptr<const PlayerItem> item(const std::shared_ptr<const Built>& built);

private:
    std::shared_ptr<const FaceCompositor> m_compositor;
    int m_width = 0;
    int m_height = 0;
};

} // namespace kelmo
