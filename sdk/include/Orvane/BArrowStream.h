// A layer as an Arrow C stream: the way to hand columns to other programs without copying them.
#pragma once

#include <Orvane/BSharedPtr.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Export.h>

#include <cstdint>

// The structures of the Arrow C data interface and the Arrow C stream interface, as their public
// description gives them. The guards are the description's own, so that other headers may define
// the same structures.
#ifndef ARROW_C_DATA_INTERFACE
#define ARROW_C_DATA_INTERFACE

// NOLINTBEGIN
#define ARROW_FLAG_DICTIONARY_ORDERED 1
#define ARROW_FLAG_NULLABLE 2
#define ARROW_FLAG_MAP_KEYS_SORTED 4

extern "C" {

struct ArrowSchema
{
    const char* format;
    const char* name;
    const char* metadata;
    std::int64_t flags;
    std::int64_t n_children;
    struct ArrowSchema** children;
    struct ArrowSchema* dictionary;
    void (*release)(struct ArrowSchema*);
    void* private_data;
};

struct ArrowArray
{
    std::int64_t length;
    std::int64_t null_count;
    std::int64_t offset;
    std::int64_t n_buffers;
    std::int64_t n_children;
    const void** buffers;
    struct ArrowArray** children;
    struct ArrowArray* dictionary;
    void (*release)(struct ArrowArray*);
    void* private_data;
};
}
// NOLINTEND
#endif

#ifndef ARROW_C_STREAM_INTERFACE
#define ARROW_C_STREAM_INTERFACE

// NOLINTBEGIN
extern "C" {

struct ArrowArrayStream
{
    int (*get_schema)(struct ArrowArrayStream*, struct ArrowSchema* out);
    int (*get_next)(struct ArrowArrayStream*, struct ArrowArray* out);
    const char* (*get_last_error)(struct ArrowArrayStream*);
    void (*release)(struct ArrowArrayStream*);
    void* private_data;
};
}
// NOLINTEND
#endif

namespace Orvane {

/// Makes a stream over the features of a layer: one record batch per page, in row order.
///
/// Columns: "name" (utf8); "geometry", a nullable struct of the doubles x, y and, when any feature
/// of the layer has a Z, z (nullable), marked as the extension type geoarrow.point; then the
/// layer's stored columns by name: int32, int64, double, float, bool, and utf8 for every type that
/// is carried as text, dates and times in their ISO 8601 spelling included. Nulls are nulls; a row
/// with fewer attributes has nulls after them; a lone surrogate becomes
/// U+FFFD. Features changed after they were handed out give their changed values, converted to the
/// column's type.
///
/// Numbers, coordinates and validity bits of a page are handed out in place; texts get their
/// offsets, booleans their bits, and a page with changed features its values in arrays of the
/// batch's own.
///
/// The stream keeps the layer alive, a batch keeps its page. The layer must not be changed while
/// the stream is used. Both are used by one thread at a time. When the pages have columns that do
/// not agree (one list being the beginning of the other), or a changed feature has attributes that
/// the columns do not have, get_schema or get_next give EINVAL, and get_last_error says why; EIO
/// stands for a disk cache that cannot be read, ENOMEM for missing memory.
///
/// @param out filled in; the caller calls its `release`.
/// @throws BDataManagerException("ExportArrowStream", "There is no layer to export.") for null.
ORVANE_SDK_EXPORT void ExportArrowStream(const BSharedPtr<BVectorLayer>& layer,
                                         ArrowArrayStream* out);

} // namespace Orvane
