// Runs of regular rows that several threads convert, given back in the order of the file.
#include "file/SharedRows.h"

#include <Orvane/BTextArray.h>

#include <cassert>
#include <cstring>
#include <type_traits>

namespace AsciiReader {

namespace {

using Orvane::BColumnData;
using Orvane::BPageArray;
using Orvane::BTextArray;

/// Runs that wait or are converted, for each thread. With fewer a helper has nothing to do while
/// the reading thread is busy; with more their columns leave the processor's cache.
constexpr std::size_t kRunsOfAThread = 4;

template <typename T>
void MakeRoom(BPageArray<T>& values, std::size_t rows)
{
    values.Resize(0);
    values.ReserveMore(rows);
    values.Resize(rows);
}

void MakeRoom(BTextArray& texts, std::size_t rows)
{
    texts.Truncate(0);
    texts.encoding = Orvane::ETextEncoding::Ascii;
    texts.ends.Reserve(rows);
}

template <typename T>
void Copy(const BPageArray<T>& from, std::size_t first, T* to, std::size_t count)
{
    std::memcpy(to, from.Data() + first, count * sizeof(T));
}

} // namespace

ConvertedRows::ConvertedRows(const RowPlan& plan, const std::vector<Orvane::BColumnInfo>& columns)
    : m_converter(plan)
    , m_columns(columns.size())
{
    for (std::size_t index = 0; index < columns.size(); ++index) {
        m_columns[index].storage = Orvane::StorageOf(columns[index].type);
    }
}

void ConvertedRows::Perform()
{
    const bool hasRoom = m_room.count > 0;
    for (BColumnData& column : m_columns) {
        if (!hasRoom || column.storage == Orvane::EColumnStorage::Text) {
            Orvane::VisitColumn(column, [this](auto& array) { MakeRoom(array, m_run.rows); });
        }
    }
    if (hasRoom) {
        m_converter.Convert(m_run, m_room, m_columns.data());
        return;
    }
    MakeRoom(m_x, m_run.rows);
    MakeRoom(m_y, m_run.rows);
    if (m_converter.HasZ()) {
        MakeRoom(m_z, m_run.rows);
    }
    m_converter.Convert(m_run,
                        {m_run.rows, 0, m_x.Data(), m_y.Data(), m_z.Data(), m_columns.data()},
                        m_columns.data());
}

void ConvertedRows::CopyTo(const Orvane::BFeatureAppender::Rows& target, std::size_t first) const
{
    const bool isThere = m_room.count > 0;
    assert(!isThere || (first == 0 && target.x == m_room.x && target.count == m_run.rows));
    if (!isThere) {
        Copy(m_x, first, target.x, target.count);
        Copy(m_y, first, target.y, target.count);
        if (target.z != nullptr) {
            Copy(m_z, first, target.z, target.count);
        }
    }
    for (std::size_t index = 0; index < m_columns.size(); ++index) {
        BColumnData& column = target.columns[index];
        Orvane::VisitStorage(column.storage, [&](auto kind) {
            const auto& from = kind.ArrayOf(m_columns[index]);
            auto& to = kind.ArrayOf(column);
            if constexpr (kind.kIsText) {
                Orvane::AppendTexts(to, from, first, target.count);
            } else if (!isThere) {
                Copy(from, first, to.Data() + target.firstRow, target.count);
            }
        });
    }
}

SharedRows::SharedRows(const RowPlan& plan, std::size_t helpers)
    : m_pool(helpers)
{
    const std::vector<Orvane::BColumnInfo> columns = plan.MakeColumns();
    const std::size_t places = kRunsOfAThread * (m_pool.GetHelperCount() + 1);
    m_rows.reserve(places);
    for (std::size_t place = 0; place < places; ++place) {
        m_rows.push_back(std::make_unique<ConvertedRows>(plan, columns));
    }
}

void SharedRows::Accept(BlockRows& rows, const Orvane::BFeatureAppender::Rows& room)
{
    ConvertedRows& place = *m_rows[(m_first + m_count) % m_rows.size()];
    place.Accept(rows, room);
    ++m_count;
    m_rowCount += place.GetRun().rows;
    m_pool.Start(place);
}

const ConvertedRows& SharedRows::Finish()
{
    ConvertedRows& first = First();
    m_pool.Finish(first);
    return first;
}

void SharedRows::DropFirst() noexcept
{
    m_rowCount -= First().GetRun().rows;
    m_first = (m_first + 1) % m_rows.size();
    --m_count;
}

} // namespace AsciiReader
