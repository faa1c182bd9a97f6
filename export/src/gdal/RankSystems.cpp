// Every system of PROJ's list is tried on a few points, which are carried back to degrees.
#include "CoordinateSystems.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <proj.h>
#include <string_view>
#include <utility>

namespace Orvane::Import::Gdal {

namespace {

constexpr std::size_t kMostSystems = 12;

struct Point
{
    double x = 0;
    double y = 0;
};

/// A point with the degrees that the file gives for it.
struct KnownPoint
{
    Point metres;
    Point degrees;
};

struct Deleter
{
    void operator()(PJ_CONTEXT* context) const { proj_context_destroy(context); }

    void operator()(PJ* object) const { proj_destroy(object); }

    void operator()(PROJ_CRS_INFO** list) const { proj_crs_info_list_destroy(list); }
};

using Context = std::unique_ptr<PJ_CONTEXT, Deleter>;
using Object = std::unique_ptr<PJ, Deleter>;

/// A value of a sorted list at a share of it.
double ValueAt(const std::vector<double>& sorted, double share)
{
    return sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
}

/// The median, and the corners of the box that holds all but the outermost hundredths.
std::vector<Point> PickPoints(const SystemSearch& search)
{
    constexpr double kOutside = 0.01;
    std::vector<double> x = search.x;
    std::vector<double> y = search.y;
    std::sort(x.begin(), x.end());
    std::sort(y.begin(), y.end());
    std::vector<Point> points = {{ValueAt(x, 0.5), ValueAt(y, 0.5)}};
    for (const double shareX : {kOutside, 1 - kOutside}) {
        for (const double shareY : {kOutside, 1 - kOutside}) {
            points.push_back({ValueAt(x, shareX), ValueAt(y, shareY)});
        }
    }
    return points;
}

std::vector<KnownPoint> PickKnownPoints(const SystemSearch& search)
{
    constexpr std::size_t kMost = 9;
    std::vector<KnownPoint> points;
    const std::size_t count = std::min(search.longitudes.size(), search.x.size());
    for (std::size_t index = 0; index < count && points.size() < kMost; ++index) {
        if (std::isfinite(search.longitudes[index]) && std::isfinite(search.latitudes[index])) {
            points.push_back({{search.x[index], search.y[index]},
                              {search.longitudes[index], search.latitudes[index]}});
        }
    }
    return points;
}

constexpr double kDegreesPerRadian = 180 / 3.14159265358979323846;

/// Metres between two points in degrees, good enough for short ways.
double DistanceOf(const Point& a, const Point& b)
{
    constexpr double kMetresPerDegree = 111320;
    const double east = (a.x - b.x) * std::cos(a.y / kDegreesPerRadian);
    return std::hypot(east, a.y - b.y) * kMetresPerDegree;
}

bool IsInArea(const PROJ_CRS_INFO& info, const Point& point)
{
    if (!std::isfinite(point.x) || !std::isfinite(point.y) || point.y < info.south_lat_degree ||
        point.y > info.north_lat_degree) {
        return false;
    }
    const bool isPastWest = point.x >= info.west_lon_degree;
    const bool isBeforeEast = point.x <= info.east_lon_degree;
    // An area over the antimeridian has its west east of its east.
    return info.west_lon_degree > info.east_lon_degree ? isPastWest || isBeforeEast
                                                       : isPastWest && isBeforeEast;
}

double SizeOf(const PROJ_CRS_INFO& info)
{
    double width = info.east_lon_degree - info.west_lon_degree;
    width += width < 0 ? 360 : 0;
    return width * (info.north_lat_degree - info.south_lat_degree);
}

/// Systems that whole countries use, and the zones of UTM on the usual datums.
bool IsUsual(int code)
{
    static constexpr std::array<std::pair<int, int>, 13> kRanges = {{{25828, 25838},
                                                                     {26901, 26923},
                                                                     {28348, 28358},
                                                                     {31254, 31259},
                                                                     {31466, 31469},
                                                                     {31965, 31985},
                                                                     {32601, 32660},
                                                                     {32701, 32760},
                                                                     {5253, 5259},
                                                                     {5185, 5188},
                                                                     {6669, 6687},
                                                                     {7791, 7795},
                                                                     {7846, 7859}}};
    static constexpr int kCodes[] = {2039,  2056,  2100,  2154,  2157,  2180,  2193, 2326,  3003,
                                     3004,  3006,  3035,  3067,  3301,  3346,  3414, 3763,  3794,
                                     3812,  3844,  3857,  5070,  5179,  5514,  7801, 21781, 23700,
                                     27700, 28992, 29902, 29903, 31287, 31370, 3059};
    return std::any_of(
               kRanges.begin(),
               kRanges.end(),
               [code](const auto& range) { return code >= range.first && code <= range.second; }) ||
           std::find(std::begin(kCodes), std::end(kCodes), code) != std::end(kCodes);
}

/// Whether a text holds the first words of an area's description ("Germany - onshore ...").
bool IsNamed(const char* area, const std::string& texts)
{
    constexpr std::size_t kFewestLetters = 4;
    const std::string_view all = area == nullptr ? "" : area;
    std::string place;
    for (const char unit : all.substr(0, std::min(all.find_first_of(",;(-"), all.size()))) {
        place.push_back(unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit - 'A' + 'a') : unit);
    }
    place.erase(place.find_last_not_of(' ') + 1);
    return place.size() >= kFewestLetters && place != "world" &&
           texts.find(place) != std::string::npos;
}

struct Ranked
{
    PlanRival system;
    double distance = 0; ///< from the file's own degrees, metres
    bool isNamed = false;
    bool isUsual = false;
    double size = 0;
};

bool IsLikelier(const Ranked& a, const Ranked& b)
{
    // Systems that agree to a metre differ by nothing that the file tells.
    const double first = std::floor(a.distance);
    const double second = std::floor(b.distance);
    if (first != second) {
        return first < second;
    }
    if (a.isNamed != b.isNamed) {
        return a.isNamed;
    }
    if (a.isUsual != b.isUsual) {
        return a.isUsual;
    }
    return a.size != b.size ? a.size < b.size : a.system.value < b.system.value;
}

class Ranking
{
public:
    explicit Ranking(const SystemSearch& search)
        : m_search(search)
        , m_points(PickPoints(search))
        , m_known(PickKnownPoints(search))
        , m_context(proj_context_create())
    {
        // Points that a projection cannot carry are no mistakes here.
        proj_log_level(m_context.get(), PJ_LOG_NONE);
    }

    [[nodiscard]] PJ_CONTEXT* GetContext() const { return m_context.get(); }

    void Try(const PROJ_CRS_INFO& info)
    {
        // What EPSG calls deprecated has a follower in the list.
        if (info.deprecated != 0 || info.bbox_valid == 0) {
            return;
        }
        const Object projection = MakeProjection(info.code);
        if (!projection) {
            return;
        }
        std::size_t inside = 0;
        for (const Point& point : m_points) {
            inside += IsInArea(info, Carry(*projection, point)) ? 1U : 0U;
            if (inside == 0) {
                return; // The median comes first.
            }
        }
        Ranked& ranked = m_ranked.emplace_back();
        ranked.system.value = std::string("EPSG:") + info.code;
        ranked.system.support = static_cast<double>(inside) / static_cast<double>(m_points.size());
        ranked.system.against = info.name;
        ranked.isNamed = IsNamed(info.area_name, m_search.texts);
        ranked.isUsual = IsUsual(std::atoi(info.code));
        ranked.size = SizeOf(info);
        for (const KnownPoint& known : m_known) {
            ranked.distance = std::max(ranked.distance,
                                       DistanceOf(Carry(*projection, known.metres), known.degrees));
        }
    }

    std::vector<PlanRival> Finish()
    {
        if (!m_known.empty()) {
            KeepThoseThatAgree();
        }
        const double most = std::accumulate(
            m_ranked.begin(), m_ranked.end(), 0.0, [](double support, const Ranked& ranked) {
                return std::max(support, ranked.system.support);
            });
        m_ranked.erase(
            std::remove_if(m_ranked.begin(),
                           m_ranked.end(),
                           [&](const Ranked& ranked) { return ranked.system.support < most; }),
            m_ranked.end());
        std::sort(m_ranked.begin(), m_ranked.end(), IsLikelier);
        std::vector<PlanRival> systems;
        for (Ranked& ranked : m_ranked) {
            if (systems.size() == kMostSystems) {
                break;
            }
            systems.push_back(std::move(ranked.system));
        }
        return systems;
    }

private:
    /// From degrees on the system's own datum, eastings first.
    [[nodiscard]] Object MakeProjection(const char* code) const
    {
        const Object system(
            proj_create_from_database(GetContext(), "EPSG", code, PJ_CATEGORY_CRS, 0, nullptr));
        const char* text =
            system ? proj_as_proj_string(GetContext(), system.get(), PJ_PROJ_4, nullptr) : nullptr;
        if (text == nullptr) {
            return nullptr;
        }
        std::string projection(text);
        constexpr std::string_view kType = " +type=crs";
        const std::size_t at = projection.find(kType);
        if (at != std::string::npos) {
            projection.erase(at, kType.size());
        }
        return Object(proj_create(GetContext(), projection.c_str()));
    }

    static Point Carry(PJ& projection, const Point& point)
    {
        const PJ_COORD degrees =
            proj_trans(&projection, PJ_INV, proj_coord(point.x, point.y, 0, HUGE_VAL));
        return {degrees.lp.lam * kDegreesPerRadian, degrees.lp.phi * kDegreesPerRadian};
    }

    /// Rule: degrees of the file that a system gives to 100 m rule all others out. Those of other
    /// datums are some hundred metres off: near systems are carried to the file's datum.
    void KeepThoseThatAgree()
    {
        constexpr double kNear = 1500;
        constexpr double kSame = 100;
        constexpr std::size_t kMostTried = 60;
        std::vector<Ranked> near;
        for (const Ranked& ranked : m_ranked) {
            if (ranked.distance <= kNear) {
                near.push_back(ranked);
            }
        }
        std::sort(near.begin(), near.end(), IsLikelier);
        near.resize(std::min(near.size(), kMostTried));
        for (Ranked& ranked : near) {
            const Object raw(proj_create_crs_to_crs(
                GetContext(), ranked.system.value.c_str(), "EPSG:4326", nullptr));
            const Object exact(raw ? proj_normalize_for_visualization(GetContext(), raw.get())
                                   : nullptr);
            for (std::size_t index = 0; exact && index < m_known.size(); ++index) {
                const KnownPoint& known = m_known[index];
                const PJ_COORD degrees = proj_trans(
                    exact.get(), PJ_FWD, proj_coord(known.metres.x, known.metres.y, 0, HUGE_VAL));
                const double distance = DistanceOf({degrees.xy.x, degrees.xy.y}, known.degrees);
                ranked.distance = index == 0 ? distance : std::max(ranked.distance, distance);
            }
        }
        near.erase(std::remove_if(near.begin(),
                                  near.end(),
                                  [](const Ranked& ranked) { return !(ranked.distance <= kSame); }),
                   near.end());
        if (!near.empty()) {
            m_ranked = std::move(near);
            return;
        }
        for (Ranked& ranked : m_ranked) {
            ranked.distance = 0;
        }
    }

    const SystemSearch& m_search;
    std::vector<Point> m_points;
    std::vector<KnownPoint> m_known;
    Context m_context;
    std::vector<Ranked> m_ranked;
};

} // namespace

std::vector<PlanRival> RankSystems(const SystemSearch& search)
{
    Ranking ranking(search);
    const PJ_TYPE type = PJ_TYPE_PROJECTED_CRS;
    PROJ_CRS_LIST_PARAMETERS* parameters = proj_get_crs_list_parameters_create();
    parameters->types = &type;
    parameters->typesCount = 1;
    int count = 0;
    const std::unique_ptr<PROJ_CRS_INFO*, Deleter> list(
        proj_get_crs_info_list_from_database(ranking.GetContext(), "EPSG", parameters, &count));
    proj_get_crs_list_parameters_destroy(parameters);
    for (int index = 0; list && index < count; ++index) {
        ranking.Try(*list.get()[index]);
    }
    return ranking.Finish();
}

} // namespace Orvane::Import::Gdal
