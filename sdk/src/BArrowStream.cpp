// A layer as an Arrow C stream.
#include <Orvane/BArrowStream.h>
#include <Orvane/BException.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BRowWalk.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace Orvane {

namespace {

using Page = std::shared_ptr<const BFeaturePage>;
using Columns = std::vector<BColumnInfo>;

/// A layer that cannot be expressed as a stream.
class StreamError : public std::exception
{
public:
    explicit StreamError(const BString& text)
        : m_text(text.ToUtf8())
    {}

    [[nodiscard]] const char* what() const noexcept override { return m_text.c_str(); }

private:
    std::string m_text;
};

template <typename Value>
inline constexpr const char* kFormatOf = nullptr;
template <>
inline constexpr const char* kFormatOf<std::int32_t> = "i";
template <>
inline constexpr const char* kFormatOf<std::int64_t> = "l";
template <>
inline constexpr const char* kFormatOf<double> = "g";
template <>
inline constexpr const char* kFormatOf<float> = "f";
template <>
inline constexpr const char* kFormatOf<bool> = "b";
template <>
inline constexpr const char* kFormatOf<BString> = "u";

const char* FormatOf(EColumnStorage storage)
{
    return VisitStorage(storage, [](auto kind) {
        constexpr const char* kFormat = kFormatOf<typename decltype(kind)::Value>;
        static_assert(kFormat != nullptr, "A storage needs its format here.");
        return kFormat;
    });
}

// Schemas.

/// Releases what its consumer has not moved away: of a tree that is released, and of one whose
/// building failed.
struct Deleter
{
    template <typename Structure>
    void operator()(Structure* structure) const
    {
        if (structure->release != nullptr) {
            structure->release(structure);
        }
        delete structure;
    }
};

using SchemaPointer = std::unique_ptr<ArrowSchema, Deleter>;
using ArrayPointer = std::unique_ptr<ArrowArray, Deleter>;

/// What a schema node owns.
struct SchemaNode
{
    std::string name;
    std::string metadata;
    std::vector<SchemaPointer> children;
    std::vector<ArrowSchema*> childPointers;
};

extern "C" void ReleaseSchema(ArrowSchema* schema)
{
    delete static_cast<SchemaNode*>(schema->private_data);
    schema->release = nullptr;
}

/// Key/value pairs as the interface writes them: counts and lengths as 32-bit numbers.
std::string EncodeMetadata(const std::vector<std::pair<std::string, std::string>>& pairs)
{
    std::string bytes;
    const auto addNumber = [&bytes](std::size_t number) {
        const auto value = static_cast<std::int32_t>(number);
        bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    };
    addNumber(pairs.size());
    for (const auto& [key, value] : pairs) {
        for (const std::string* text : {&key, &value}) {
            addNumber(text->size());
            bytes += *text;
        }
    }
    return bytes;
}

void FillSchema(ArrowSchema& out,
                const char* format,
                std::string name,
                bool isNullable,
                std::vector<SchemaPointer> children = {},
                std::string metadata = {})
{
    auto node = std::make_unique<SchemaNode>();
    node->name = std::move(name);
    node->metadata = std::move(metadata);
    node->children = std::move(children);
    for (const auto& child : node->children) {
        node->childPointers.push_back(child.get());
    }
    out = ArrowSchema();
    out.format = format;
    out.name = node->name.c_str();
    out.metadata = node->metadata.empty() ? nullptr : node->metadata.data();
    out.flags = isNullable ? ARROW_FLAG_NULLABLE : 0;
    out.n_children = static_cast<std::int64_t>(node->childPointers.size());
    out.children = node->childPointers.data();
    out.release = ReleaseSchema;
    out.private_data = node.release();
}

SchemaPointer MakeSchema(const char* format, std::string name, bool isNullable)
{
    SchemaPointer schema(new ArrowSchema());
    FillSchema(*schema, format, std::move(name), isNullable);
    return schema;
}

void MakeLayerSchema(const Columns& columns, bool hasZ, ArrowSchema& out)
{
    std::vector<SchemaPointer> axes;
    axes.push_back(MakeSchema("g", "x", false));
    axes.push_back(MakeSchema("g", "y", false));
    if (hasZ) {
        axes.push_back(MakeSchema("g", "z", true));
    }
    SchemaPointer geometry(new ArrowSchema());
    FillSchema(*geometry,
               "+s",
               "geometry",
               true,
               std::move(axes),
               EncodeMetadata({{"ARROW:extension:name", "geoarrow.point"},
                               {"ARROW:extension:metadata", "{}"}}));
    std::vector<SchemaPointer> children;
    children.push_back(MakeSchema("u", "name", false));
    children.push_back(std::move(geometry));
    for (const BColumnInfo& column : columns) {
        children.push_back(
            MakeSchema(FormatOf(StorageOf(column.type)), column.name.ToUtf8(), true));
    }
    FillSchema(out, "+s", "", false, std::move(children));
}

// Arrays.

/// What an array node owns: the page that its buffers may point into, and buffers of its own.
struct ArrayNode
{
    Page page;
    std::vector<std::vector<char>> owned;
    std::vector<const void*> buffers;
    std::vector<ArrayPointer> children;
    std::vector<ArrowArray*> childPointers;
};

extern "C" void ReleaseArray(ArrowArray* array)
{
    delete static_cast<ArrayNode*>(array->private_data);
    array->release = nullptr;
}

/// Bits, one per row, the first in the lowest bit.
class BitBuffer
{
public:
    explicit BitBuffer(std::size_t size)
        : m_bytes((size + 7) / 8)
    {}

    void Set(std::size_t index)
    {
        m_bytes[index / 8] =
            static_cast<char>(static_cast<unsigned char>(m_bytes[index / 8]) | (1U << (index % 8)));
        ++m_count;
    }

    [[nodiscard]] std::size_t GetCount() const { return m_count; }

    [[nodiscard]] std::vector<char> Release() { return std::move(m_bytes); }

private:
    std::vector<char> m_bytes;
    std::size_t m_count = 0;
};

/// Builds one array; what is built is released unless Fill or Make hands it out.
class ArrayBuilder
{
public:
    ArrayBuilder(std::size_t rows, const Page& page)
        : m_rows(rows)
        , m_node(std::make_unique<ArrayNode>())
    {
        m_node->page = page;
    }

    void AddPlace(const void* buffer) { m_node->buffers.push_back(buffer); }

    void AddOwned(std::vector<char> bytes)
    {
        m_node->owned.push_back(std::move(bytes));
        m_node->buffers.push_back(m_node->owned.back().data());
    }

    /// The first buffer where no row has a null.
    void AddNoValidity() { AddPlace(nullptr); }

    /// The first buffer: bits in the layout of Arrow that stay in their place.
    void AddValidityInPlace(const std::uint8_t* bits, std::size_t nulls)
    {
        m_nulls = nulls;
        AddPlace(bits);
    }

    /// The first buffer: which rows have a value. None is needed when all have one.
    void AddValidity(BitBuffer valid)
    {
        m_nulls = m_rows - valid.GetCount();
        if (m_nulls == 0) {
            AddPlace(nullptr);
        } else {
            AddOwned(valid.Release());
        }
    }

    void AddChild(ArrayPointer child) { m_node->children.push_back(std::move(child)); }

    void Fill(ArrowArray& out)
    {
        for (const auto& child : m_node->children) {
            m_node->childPointers.push_back(child.get());
        }
        out = ArrowArray();
        out.length = static_cast<std::int64_t>(m_rows);
        out.null_count = static_cast<std::int64_t>(m_nulls);
        out.n_buffers = static_cast<std::int64_t>(m_node->buffers.size());
        out.n_children = static_cast<std::int64_t>(m_node->childPointers.size());
        out.buffers = m_node->buffers.data();
        out.children = m_node->childPointers.data();
        out.release = ReleaseArray;
        out.private_data = m_node.release();
    }

    ArrayPointer Make()
    {
        ArrayPointer array(new ArrowArray());
        Fill(*array);
        return array;
    }

private:
    std::size_t m_rows;
    std::size_t m_nulls = 0;
    std::unique_ptr<ArrayNode> m_node;
};

template <typename T>
std::vector<char> BytesOf(const std::vector<T>& values)
{
    std::vector<char> bytes(values.size() * sizeof(T));
    if (!bytes.empty()) {
        std::memcpy(bytes.data(), values.data(), bytes.size());
    }
    return bytes;
}

/// Texts as Arrow stores them.
class TextBuffers
{
public:
    explicit TextBuffers(std::size_t rows) { m_offsets.reserve(rows + 1); }

    void Append(std::string_view bytes, ETextEncoding encoding)
    {
        AppendTextAsUtf8(bytes, encoding, m_text);
        End();
    }

    void AppendEmpty() { End(); }

    void AddTo(ArrayBuilder& builder)
    {
        builder.AddOwned(BytesOf(m_offsets));
        builder.AddOwned(std::vector<char>(m_text.begin(), m_text.end()));
    }

private:
    void End()
    {
        if (m_text.size() > 0x7FFFFFFF) {
            throw StreamError("A page has more than 2147483647 bytes of text in one column.");
        }
        m_offsets.push_back(static_cast<std::int32_t>(m_text.size()));
    }

    std::vector<std::int32_t> m_offsets{0};
    std::string m_text;
};

bool IsPrefix(const Columns& shorter, const Columns& longer)
{
    return shorter.size() <= longer.size() &&
           std::equal(shorter.begin(), shorter.end(), longer.begin());
}

/// One stream over a layer.
class LayerStream
{
public:
    explicit LayerStream(BSharedPtr<BVectorLayer> layer)
        : m_layer(std::move(layer))
        , m_walk(m_layer->GetFeatures())
    {}

    void GetSchema(ArrowSchema& out)
    {
        Prepare();
        MakeLayerSchema(m_columns, m_hasZ, out);
    }

    void GetNext(ArrowArray& out)
    {
        Prepare();
        if (m_walk.NextPage()) {
            MakeBatch(out);
        } else {
            out = ArrowArray(); // a released array ends the stream
        }
    }

    int Guard(void (*work)(LayerStream&, void*), void* out) noexcept
    {
        try {
            m_error.clear();
            work(*this, out);
            return 0;
        } catch (const StreamError& error) {
            return Fail(EINVAL, error.what());
        } catch (const std::bad_alloc&) {
            return Fail(ENOMEM, "There is not enough memory.");
        } catch (const std::exception& error) {
            return Fail(EIO, error.what());
        }
    }

    [[nodiscard]] const char* GetError() const noexcept
    {
        return m_error.empty() ? nullptr : m_error.c_str();
    }

private:
    int Fail(int code, const char* text) noexcept
    {
        try {
            m_error = text;
        } catch (...) {
            m_error.clear();
        }
        return code;
    }

    /// Finds the columns that all pages share, and whether there are heights.
    void Prepare()
    {
        if (m_isPrepared) {
            return;
        }
        Columns columns;
        for (BRowWalk walk(m_layer->GetFeatures()); walk.NextPage();) {
            const BFeaturePage& page = walk.GetPage();
            m_hasZ = m_hasZ || !page.z.IsEmpty();
            if (IsPrefix(columns, *page.columns)) {
                columns = *page.columns;
            } else if (!IsPrefix(*page.columns, columns)) {
                throw StreamError("The features of the layer do not share their columns.");
            }
            for (std::size_t row = 0; row < walk.GetRowCount() && walk.MayHaveObjects(); ++row) {
                const BFeature* object = walk.GetObject(row);
                const BPointGeo* point = object == nullptr ? nullptr : object->GetPoint();
                m_hasZ = m_hasZ || (point != nullptr && point->HasZ());
            }
        }
        m_columns = std::move(columns);
        m_isPrepared = true;
    }

    void MakeBatch(ArrowArray& out) const
    {
        const Page page = m_walk.SharePage();
        const std::size_t rows = page->GetRowCount();
        std::vector<const BFeature*> objects;
        for (std::size_t row = 0; row < rows && m_walk.MayHaveObjects(); ++row) {
            if (const BFeature* object = m_walk.GetObject(row)) {
                objects.resize(rows);
                objects[row] = object;
                CheckAttributes(*object);
            }
        }
        ArrayBuilder batch(rows, page);
        batch.AddPlace(nullptr);
        batch.AddChild(MakeNames(page, objects));
        batch.AddChild(MakePoints(page, objects));
        for (std::size_t column = 0; column < m_columns.size(); ++column) {
            batch.AddChild(MakeColumn(page, objects, column));
        }
        batch.Fill(out);
    }

    void CheckAttributes(const BFeature& object) const
    {
        const BAttributes& attributes = object.GetAttributes();
        for (std::size_t index = 0; index < attributes.GetCount(); ++index) {
            if (index >= m_columns.size() || attributes.GetNameAt(index) != m_columns[index].name) {
                throw StreamError(
                    BString::Format("The changed feature <%ls> has the attribute <%ls>, "
                                    "which the layer's columns do not have at its "
                                    "place.",
                                    object.GetName(),
                                    attributes.GetNameAt(index)));
            }
        }
    }

    static const BFeature* ObjectAt(const std::vector<const BFeature*>& objects, std::size_t row)
    {
        return objects.empty() ? nullptr : objects[row];
    }

    static ArrayPointer MakeNames(const Page& page, const std::vector<const BFeature*>& objects)
    {
        const std::size_t rows = page->GetRowCount();
        TextBuffers texts(rows);
        for (std::size_t row = 0; row < rows; ++row) {
            const BFeature* object = ObjectAt(objects, row);
            if (object != nullptr) {
                texts.Append(object->GetName().ToUtf8(), ETextEncoding::Utf8);
            } else if (page->HasNameTexts()) {
                texts.Append(page->nameTexts.GetBytes(row), page->nameTexts.encoding);
            } else {
                texts.Append(std::to_string(page->GetNameNumber(row)), ETextEncoding::Ascii);
            }
        }
        ArrayBuilder builder(rows, nullptr);
        builder.AddPlace(nullptr);
        texts.AddTo(builder);
        return builder.Make();
    }

    ArrayPointer MakePoints(const Page& page, const std::vector<const BFeature*>& objects) const
    {
        const std::size_t rows = page->GetRowCount();
        BitBuffer hasPoint(rows);
        BitBuffer hasHeight(rows);
        const auto pointOf = [&](std::size_t row) -> const BPointGeo* {
            return objects.empty() || objects[row] == nullptr ? nullptr : objects[row]->GetPoint();
        };
        for (std::size_t row = 0; row < rows; ++row) {
            const bool isObject = ObjectAt(objects, row) != nullptr;
            const BPointGeo* point = pointOf(row);
            const EPointKind kind = page->GetPointKind(row);
            if (isObject ? point != nullptr : kind != EPointKind::None) {
                hasPoint.Set(row);
            }
            if (isObject ? point != nullptr && point->HasZ() : kind == EPointKind::XYZ) {
                hasHeight.Set(row);
            }
        }
        const auto makeAxis = [&](const BPageArray<double>& values,
                                  double (BPointGeo::*get)() const noexcept,
                                  BitBuffer* valid) {
            ArrayBuilder builder(rows, page);
            if (valid == nullptr) {
                builder.AddPlace(nullptr);
            } else {
                builder.AddValidity(std::move(*valid));
            }
            if (objects.empty() && values.GetSize() >= rows) {
                builder.AddPlace(values.Data());
                return builder.Make();
            }
            std::vector<double> copies(rows);
            for (std::size_t row = 0; row < rows; ++row) {
                const BPointGeo* point = pointOf(row);
                const bool isStored = ObjectAt(objects, row) == nullptr && row < values.GetSize();
                copies[row] = point != nullptr ? (point->*get)() : isStored ? values[row] : 0.0;
            }
            builder.AddOwned(BytesOf(copies));
            return builder.Make();
        };
        ArrayBuilder builder(rows, nullptr);
        builder.AddValidity(std::move(hasPoint));
        builder.AddChild(makeAxis(page->x, &BPointGeo::GetX, nullptr));
        builder.AddChild(makeAxis(page->y, &BPointGeo::GetY, nullptr));
        if (m_hasZ) {
            builder.AddChild(makeAxis(page->z, &BPointGeo::GetZ, &hasHeight));
        }
        return builder.Make();
    }

    ArrayPointer MakeColumn(const Page& page,
                            const std::vector<const BFeature*>& objects,
                            std::size_t column) const
    {
        const std::size_t rows = page->GetRowCount();
        ArrayBuilder builder(rows, page);
        AddColumnValidity(builder, *page, objects, column);
        const BColumnData empty;
        const BColumnData& data = column < page->data.size() ? page->data[column] : empty;
        VisitStorage(StorageOf(m_columns[column].type), [&](auto kind) {
            if constexpr (kind.kIsText) {
                AddTexts(builder, rows, objects, column, data.texts);
            } else if constexpr (kind.kStorage == EColumnStorage::Boolean) {
                AddBooleans(builder, rows, objects, column, data.booleans);
            } else {
                AddValues(kind, builder, rows, objects, column, kind.ArrayOf(data));
            }
        });
        return builder.Make();
    }

    /// In place where all rows have the column and the page says for all of them whether they have
    /// a value.
    static void AddColumnValidity(ArrayBuilder& builder,
                                  const BFeaturePage& page,
                                  const std::vector<const BFeature*>& objects,
                                  std::size_t column)
    {
        const std::size_t rows = page.GetRowCount();
        if (objects.empty() && column < page.data.size() && page.attributeCounts.IsEmpty()) {
            const BColumnData& data = page.data[column];
            const std::size_t nulls = data.CountNulls(rows);
            if (nulls == 0) {
                builder.AddNoValidity();
                return;
            }
            if (8 * data.validity.GetSize() >= rows) {
                builder.AddValidityInPlace(data.validity.Data(), nulls);
                return;
            }
        }
        BitBuffer valid(rows);
        for (std::size_t row = 0; row < rows; ++row) {
            const BFeature* object = ObjectAt(objects, row);
            const bool isSet = object != nullptr
                                   ? column < object->GetAttributeCount() &&
                                         !object->GetAttributes().GetValueAt(column).IsEmpty()
                                   : column < page.data.size() &&
                                         column < page.GetAttributeCount(row) &&
                                         !page.data[column].IsNull(row);
            if (isSet) {
                valid.Set(row);
            }
        }
        builder.AddValidity(std::move(valid));
    }

    /// The value of a changed feature, null when it has none in that column.
    static const BVariant*
    ValueOf(const std::vector<const BFeature*>& objects, std::size_t row, std::size_t column)
    {
        const BFeature* object = ObjectAt(objects, row);
        const bool hasValue = object != nullptr && column < object->GetAttributeCount();
        return hasValue ? &object->GetAttributes().GetValueAt(column) : nullptr;
    }

    template <typename Kind, typename T>
    static void AddValues(Kind kind,
                          ArrayBuilder& builder,
                          std::size_t rows,
                          const std::vector<const BFeature*>& objects,
                          std::size_t column,
                          const BPageArray<T>& values)
    {
        if (objects.empty() && values.GetSize() >= rows) {
            builder.AddPlace(values.Data());
            return;
        }
        std::vector<T> copies(rows);
        for (std::size_t row = 0; row < rows; ++row) {
            const BVariant* value = ValueOf(objects, row, column);
            const T stored = row < values.GetSize() ? values[row] : T();
            copies[row] = value != nullptr ? kind.Convert(*value) : stored;
        }
        builder.AddOwned(BytesOf(copies));
    }

    static void AddBooleans(ArrayBuilder& builder,
                            std::size_t rows,
                            const std::vector<const BFeature*>& objects,
                            std::size_t column,
                            const BPageArray<std::uint8_t>& values)
    {
        BitBuffer bits(rows);
        for (std::size_t row = 0; row < rows; ++row) {
            const BVariant* value = ValueOf(objects, row, column);
            const bool stored = row < values.GetSize() && values[row] != 0;
            if (value != nullptr ? value->GetBoolean() : stored) {
                bits.Set(row);
            }
        }
        builder.AddOwned(bits.Release());
    }

    static void AddTexts(ArrayBuilder& builder,
                         std::size_t rows,
                         const std::vector<const BFeature*>& objects,
                         std::size_t column,
                         const BTextArray& values)
    {
        TextBuffers texts(rows);
        for (std::size_t row = 0; row < rows; ++row) {
            const BVariant* value = ValueOf(objects, row, column);
            if (value != nullptr) {
                texts.Append(value->GetString().ToUtf8(), ETextEncoding::Utf8);
            } else if (row < values.GetCount() && ObjectAt(objects, row) == nullptr) {
                texts.Append(values.GetBytes(row), values.encoding);
            } else {
                texts.AppendEmpty();
            }
        }
        texts.AddTo(builder);
    }

    BSharedPtr<BVectorLayer> m_layer;
    BRowWalk m_walk;
    Columns m_columns;
    bool m_hasZ = false;
    bool m_isPrepared = false;
    std::string m_error;
};

LayerStream& StreamOf(ArrowArrayStream* stream)
{
    return *static_cast<LayerStream*>(stream->private_data);
}

extern "C" int GetStreamSchema(ArrowArrayStream* stream, ArrowSchema* out)
{
    return StreamOf(stream).Guard(
        [](LayerStream& self, void* to) { self.GetSchema(*static_cast<ArrowSchema*>(to)); }, out);
}

extern "C" int GetStreamNext(ArrowArrayStream* stream, ArrowArray* out)
{
    return StreamOf(stream).Guard(
        [](LayerStream& self, void* to) { self.GetNext(*static_cast<ArrowArray*>(to)); }, out);
}

extern "C" const char* GetStreamError(ArrowArrayStream* stream)
{
    return StreamOf(stream).GetError();
}

extern "C" void ReleaseStream(ArrowArrayStream* stream)
{
    delete static_cast<LayerStream*>(stream->private_data);
    stream->private_data = nullptr;
    stream->release = nullptr;
}

} // namespace

void ExportArrowStream(const BSharedPtr<BVectorLayer>& layer, ArrowArrayStream* out)
{
    if (!layer) {
        throw BDataManagerException("ExportArrowStream", "There is no layer to export.");
    }
    *out = ArrowArrayStream();
    out->private_data = new LayerStream(layer);
    out->get_schema = GetStreamSchema;
    out->get_next = GetStreamNext;
    out->get_last_error = GetStreamError;
    out->release = ReleaseStream;
}

} // namespace Orvane
