#pragma once

namespace timeline {

// What a host asks a widget's provider for: a placeholder (no data, shown while loading), a
// snapshot (one entry, quickly, for a gallery) or a timeline (entries and a reload policy).
enum class Request { placeholder, snapshot, timeline };

}  // namespace timeline
