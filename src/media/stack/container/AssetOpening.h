#pragma once

#include "media/stack/container/Asset.h"
#include "media/stack/container/MovBoxes.h"
#include "media/stack/core/AvHandles.h"

namespace kelmo {

/// Opens a file with libav for reading its headers only, from a whitelist of containers, so that a playlist or a
/// script in a movie's clothes cannot make it open other files. Internal to the media stack.
[[nodiscard]] Result<AvHandle<AVFormatContext>> openContainer(const QString& path);

/// The tables of one file: its tracks, as Asset keeps them.
struct AssetTables {
    std::vector<Track> tracks;
    bool isMov = false;
};

/// Reads the tables of a movie. For QuickTime and MP4 files the sample tables are read by us, and where they are of a
/// rare kind, the demuxer steps over a file whose `mdat` bodies read as nothing. Of the media data only what the tables
/// leave open is read: a frame for its size, a few frames for their order. Other containers are read through once.
[[nodiscard]] Result<AssetTables> readTables(const QString& path);

} // namespace kelmo
