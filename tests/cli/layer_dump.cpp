// Prints what GDAL reads in a file as JSON with exact numbers, for the command-line tests.
#include <cpl_conv.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>
#include <ogrsf_frmts.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

namespace {

std::string Quote(const char* text)
{
    std::string quoted = "\"";
    for (; *text != '\0'; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        if (byte < 0x20 || byte == '"' || byte == '\\') {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
            quoted += escape;
        } else {
            quoted += *text;
        }
    }
    return quoted + '"';
}

std::string Number(double value)
{
    if (std::isnan(value)) {
        return "NaN";
    }
    if (std::isinf(value)) {
        return value < 0 ? "-Infinity" : "Infinity";
    }
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

std::string Geometry(OGRGeometry* geometry)
{
    if (geometry == nullptr) {
        return "null";
    }
    const OGRPoint& point = *geometry->toPoint();
    std::string text = "[" + Number(point.getX()) + "," + Number(point.getY());
    return text + (geometry->Is3D() != 0 ? "," + Number(point.getZ()) + "]" : "]");
}

std::string Value(const OGRFeature& feature, int index)
{
    if (!feature.IsFieldSetAndNotNull(index)) {
        return "null";
    }
    const OGRFieldDefn& defn = *feature.GetFieldDefnRef(index);
    switch (defn.GetType()) {
    case OFTInteger:
    case OFTInteger64:
        return std::to_string(feature.GetFieldAsInteger64(index));
    case OFTReal:
        return Number(feature.GetFieldAsDouble(index));
    default:
        return Quote(feature.GetFieldAsString(index));
    }
}

std::string Authority(const OGRSpatialReference* coordSys)
{
    const char* name = coordSys == nullptr ? nullptr : coordSys->GetAuthorityName(nullptr);
    const char* code = coordSys == nullptr ? nullptr : coordSys->GetAuthorityCode(nullptr);
    return name == nullptr || code == nullptr ? "null"
                                              : Quote((std::string(name) + ":" + code).c_str());
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2) {
        return 2;
    }
    GDALAllRegister();
    const std::unique_ptr<GDALDataset> dataset(
        GDALDataset::Open(arguments[1], GDAL_OF_VECTOR | GDAL_OF_VERBOSE_ERROR));
    if (dataset == nullptr || dataset->GetLayerCount() != 1) {
        return 1;
    }
    OGRLayer& layer = *dataset->GetLayer(0);
    std::string text = "{\"driver\":" + Quote(dataset->GetDriverName()) +
                       ",\"layer\":" + Quote(layer.GetName()) +
                       ",\"geometry\":" + Quote(OGRGeometryTypeToName(layer.GetGeomType())) +
                       ",\"crs\":" + Authority(layer.GetSpatialRef()) + ",\"fields\":[";
    const OGRFeatureDefn& defn = *layer.GetLayerDefn();
    for (int index = 0; index < defn.GetFieldCount(); ++index) {
        const OGRFieldDefn& field = *defn.GetFieldDefn(index);
        text += index == 0 ? "[" : ",[";
        text += Quote(field.GetNameRef()) + "," +
                Quote(OGRFieldDefn::GetFieldTypeName(field.GetType())) + "," +
                Quote(OGRFieldDefn::GetFieldSubTypeName(field.GetSubType())) + "]";
    }
    text += "],\"features\":[";
    bool isFirst = true;
    for (const auto& feature : layer) {
        text += isFirst ? "[" : ",[";
        isFirst = false;
        text += Geometry(feature->GetGeometryRef()) + ",[";
        for (int index = 0; index < defn.GetFieldCount(); ++index) {
            text += (index == 0 ? "" : ",") + Value(*feature, index);
        }
        text += "]]";
    }
    text += "]}";
    std::puts(text.c_str());
    return 0;
}
