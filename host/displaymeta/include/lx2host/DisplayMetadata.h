// The display-metadata library: records kept beside each graphic buffer, behind the second
// descriptor of its handle, so that every import of the buffer sees them, in any process.
//
// Types and the bytes of their records: 1 AV timestamp, 8; 2 color record, 2804; 4 interlace, 4;
// 64 statistics of the compressed layout, of which the first 36 are kept; 256 refresh rate, 4;
// 0x10000 vision-processor metadata, 1072. The whole record is read or written in one call; calls
// of this process are serialised, those of different processes are not.
//
// 0 on success. A negative errno value and nothing touched otherwise: -EINVAL for a null argument,
// an unknown type, or a handle that the allocator didn't make; -ENODATA for a get of what was never
// set; -EIO when the memory can't be mapped.
#pragma once

extern "C" {

__attribute__((visibility("default"))) int getMetaDataAndUnmap(void* handle, int type, void* data);
__attribute__((visibility("default"))) int setMetaDataAndUnmap(void* handle, int type, void* data);
}
