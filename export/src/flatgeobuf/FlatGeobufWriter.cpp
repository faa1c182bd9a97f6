// Puts features aside, and the parts of the file in their places.
#include "FlatGeobufWriter.h"

#include "NewFile.h"
#include "PackedIndex.h"
#include "RecordReader.h"
#include "RecordSorter.h"
#include "WriteFailure.h"

#include <optional>
#include <string>
#include <utility>

namespace Orvane::FlatGeobuf {

/// The file, and the features that wait.
class FlatGeobufWriter::Parts
{
public:
    Parts(const std::filesystem::path& path, LayerDefinition layer, Options options)
        : m_folder(path.parent_path())
        , m_layer(std::move(layer))
        , m_options(std::move(options))
        , m_file(path)
        , m_withPoint(m_layer.hasHeights ? FeatureTemplate::EGeometry::PointWithZ
                                         : FeatureTemplate::EGeometry::Point)
        , m_withoutPoint(FeatureTemplate::EGeometry::None)
        , m_points(m_folder, m_options.memory, RecordShape(m_layer.hasHeights ? 3 : 2), [this] {
            Step();
        })
    {
        // The header's size is known from the begin; what it says of the rows comes in the end.
        const std::string header = MakeHeader(m_layer, 0, false, {});
        if (!m_layer.hasGeometry) {
            m_others.emplace(MakeWrite(), header.size(), BlockWriter::kLargeBlock);
        }
    }

    void AddPoint(const Place& place, std::string_view properties)
    {
        static_cast<void>(m_withPoint.GetSize(properties.size()));
        m_points.Add(place, properties);
    }

    void AddWithoutPoint(std::string_view properties)
    {
        static_cast<void>(m_withoutPoint.GetSize(properties.size()));
        ++m_otherCount;
        if (!m_layer.hasGeometry) {
            const FeatureFrame frame = m_withoutPoint.Fill({}, properties.size());
            m_others->Append(frame.head);
            m_others->Append(properties);
            m_others->Append(frame.padding);
            return;
        }
        if (!m_others) {
            m_otherFile.emplace(m_folder);
            m_others.emplace(
                [this](const void* bytes, std::size_t byteCount, std::uint64_t offset) {
                    m_otherFile->Write(bytes, byteCount, offset);
                    Step();
                },
                0,
                BlockWriter::kLargeBlock);
        }
        char begin[sizeof(std::uint32_t)];
        kOtherShape.SetBegin(begin, {}, static_cast<std::uint32_t>(properties.size()));
        m_others->Append({begin, sizeof begin});
        m_others->Append(properties);
    }

    void WriteRows()
    {
        m_isFinishing = true;
        Report(0);
        if (m_others) {
            m_others->Flush();
        }
        const std::uint64_t count = m_points.GetCount() + m_otherCount;
        const bool hasIndex = m_layer.hasGeometry && count > 0;
        Box box;
        if (hasIndex) {
            box = WriteIndexed(count);
        }
        const std::string header = MakeHeader(m_layer, count, hasIndex, box);
        m_file.Write(header.data(), header.size(), 0);
        Report(count);
    }

    void Close() { m_file.Close(); }

private:
    [[nodiscard]] BlockWriter::Write MakeWrite()
    {
        return [this](const void* bytes, std::size_t byteCount, std::uint64_t offset) {
            m_file.Write(bytes, byteCount, offset);
            Step();
        };
    }

    /// @return the box around all points
    Box WriteIndexed(std::uint64_t count)
    {
        constexpr std::uint64_t kRowsPerReport = 4096;
        // Any box that is not empty: the header has its final size then.
        const Box anyBox{0, 0, 0, 0};
        const std::uint64_t indexOffset =
            MakeHeader(m_layer, count, true, m_points.GetCount() > 0 ? anyBox : Box()).size();
        const std::uint64_t firstFeature = indexOffset + PackedIndex::GetByteCount(count);
        PackedIndex index(MakeWrite(), indexOffset, count);
        BlockWriter out(MakeWrite(), firstFeature, BlockWriter::kLargeBlock);
        std::uint64_t next = 0; ///< where the next feature begins, from the first one
        std::uint64_t done = 0;
        const auto frame = [&](FeatureTemplate& bytes,
                               const Box& box,
                               const Place& place,
                               std::size_t propertySize) {
            index.Add(box, next);
            next += bytes.GetSize(propertySize);
            if (++done % kRowsPerReport == 0) {
                Report(done);
            }
            return bytes.Fill(place, propertySize);
        };
        m_points.Drain(out, [&](const Place& place, std::size_t propertySize) {
            return frame(m_withPoint, {place.x, place.y, place.x, place.y}, place, propertySize);
        });
        if (m_otherFile) {
            RecordReader others(
                *m_otherFile, 0, m_others->GetPosition(), kOtherShape, BlockWriter::kLargeBlock);
            while (others.Next()) {
                const FeatureFrame bytes = frame(m_withoutPoint, {}, {}, others.GetPropertySize());
                out.Append(bytes.head);
                others.MoveProperties(out);
                out.Append(bytes.padding);
            }
        }
        out.Flush();
        index.Finish();
        return index.GetBox();
    }

    /// Between pieces of work: `step` before Finish, `progress` from then on.
    void Step()
    {
        if (m_isFinishing) {
            Report(m_reported);
        } else if (m_options.step) {
            m_options.step();
        }
    }

    void Report(std::uint64_t rowsDone)
    {
        m_reported = rowsDone;
        if (m_options.progress) {
            m_options.progress(rowsDone);
        }
    }

    static inline const RecordShape kOtherShape{0};

    const std::filesystem::path m_folder;
    const LayerDefinition m_layer;
    const Options m_options;
    NewFile m_file;
    FeatureTemplate m_withPoint;
    FeatureTemplate m_withoutPoint;
    RecordSorter m_points;
    std::optional<SpillFile> m_otherFile; ///< rows without a point, when there is an index
    std::optional<BlockWriter> m_others;  ///< into that file, or into the output
    std::uint64_t m_otherCount = 0;
    bool m_isFinishing = false;
    std::uint64_t m_reported = 0;
};

template <typename Work>
void FlatGeobufWriter::Do(const char* step, const Work& work)
{
    try {
        work();
    } catch (const WriteFailure& failure) {
        throw WriteFailure(std::string(step) + ": " + failure.what());
    }
}

FlatGeobufWriter::FlatGeobufWriter(std::filesystem::path file,
                                   LayerDefinition layer,
                                   Options options)
{
    Do("Making the file",
       [&] { m_parts = std::make_unique<Parts>(file, std::move(layer), std::move(options)); });
}

FlatGeobufWriter::~FlatGeobufWriter() = default;

void FlatGeobufWriter::AddPoint(const Place& place, std::string_view properties)
{
    Do("Writing rows", [&] { m_parts->AddPoint(place, properties); });
}

void FlatGeobufWriter::AddWithoutPoint(std::string_view properties)
{
    Do("Writing rows", [&] { m_parts->AddWithoutPoint(properties); });
}

void FlatGeobufWriter::Finish()
{
    Do("Making the spatial index", [this] { m_parts->WriteRows(); });
    Do("Ending the file", [this] { m_parts->Close(); });
}

} // namespace Orvane::FlatGeobuf
