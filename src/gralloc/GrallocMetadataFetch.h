// Fetches one kind of a buffer's display metadata and makes C2 parameters of it. Each returns
// whether the display-metadata library had it; the library's getter must be there.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Param.h>
#include <lx2/LXDColorMetaData.h>

#include <memory>
#include <vector>

namespace lx2 {

using MetadataParams = std::vector<std::unique_ptr<C2Param>>;

bool FetchAvTimestamp(void* handle, MetadataParams* out);

// Appends the aspects; record receives the whole color record.
bool FetchColorAspects(void* handle, MetadataParams* out, lxd::ColorMetaData* record);

bool FetchKva(void* handle, MetadataParams* infos, MetadataParams* configUpdates);
bool FetchStatistics(void* handle, MetadataParams* infos);

// What else a color record holds. Append nothing when it doesn't.
void AppendHdrStatic(const lxd::ColorMetaData& record, MetadataParams* out);
void AppendHdrDynamic(const lxd::ColorMetaData& record, MetadataParams* out);

}  // namespace lx2
