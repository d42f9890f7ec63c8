#include "media/PreviewItems.h"

namespace kelmo {

std::shared_ptr<const PlayerItem> PreviewItems::item(const std::shared_ptr<const Built>& built)
{
    auto item = std::make_shared<PlayerItem>();
    item->composition = std::shared_ptr<const Composition>(built, &built->composition);
    item->ramps = built->audioMix.value_or(std::vector<VolumeRamp>());
    item->width = built->loaded->renderWidth;
    item->height = built->loaded->renderHeight;
    if (const std::optional<VideoComposition> preview = built->previewVideoComposition()) {
        item->width = preview->width;
        item->height = preview->height;
        item->fps = preview->fps;
        if (!m_compositor || m_width != preview->width || m_height != preview->height)
            m_compositor = std::make_shared<FaceCompositor>(preview->width, preview->height);
        m_width = preview->width;
        m_height = preview->height;
        item->overlay = m_compositor;
    }
    return item;
}

} // namespace kelmo
