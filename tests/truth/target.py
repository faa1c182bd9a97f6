"""Reads what an import wrote, or what GDAL makes of a file by itself, with GDAL's Python bindings."""

import calendar
import datetime

from osgeo import gdal, ogr

gdal.UseExceptions()
gdal.SetConfigOption("CPL_LOG", "/dev/null")


class Target:
    """Columns by name, and rows of (values, point); a point is (x, y[, z]) or None."""

    def __init__(self, names, rows):
        self.names = names
        self.rows = rows


def moment(feature, index, kind):
    year, month, day, hour, minute, second, _ = feature.GetFieldAsDateTime(index)
    micro = round(second % 1 * 1e6)
    if kind != ogr.OFTTime and not (1 <= month <= 12 and 1 <= day <= calendar.monthrange(year, month)[1]):
        return f"no date: {year}-{month}-{day}"
    if kind == ogr.OFTDate:
        return datetime.date(year, month, day)
    time = datetime.time(hour, minute, int(second), micro)
    return time if kind == ogr.OFTTime else datetime.datetime.combine(datetime.date(year, month, day), time)


def value(feature, index, kind, subtype):
    if not feature.IsFieldSetAndNotNull(index):
        return None
    if kind in (ogr.OFTDate, ogr.OFTTime, ogr.OFTDateTime):
        return moment(feature, index, kind)
    if kind == ogr.OFTInteger and subtype == ogr.OFSTBoolean:
        return bool(feature.GetFieldAsInteger(index))
    if kind in (ogr.OFTInteger, ogr.OFTInteger64):
        return feature.GetFieldAsInteger64(index)
    if kind == ogr.OFTReal:
        return feature.GetFieldAsDouble(index)
    return feature.GetFieldAsString(index)


def point(feature):
    geometry = feature.GetGeometryRef()
    if geometry is None or geometry.IsEmpty():
        return None
    return geometry.GetPoint(0) if geometry.GetCoordinateDimension() == 3 else geometry.GetPoint_2D(0)


def read_layer(layer):
    definition = layer.GetLayerDefn()
    fields = [definition.GetFieldDefn(index) for index in range(definition.GetFieldCount())]
    kinds = [(field.GetType(), field.GetSubType()) for field in fields]
    rows = []
    for feature in layer:
        values = [value(feature, index, *kind) for index, kind in enumerate(kinds)]
        rows.append((values, point(feature)))
    return Target([field.GetName() for field in fields], rows)


def read_written(path, layer_name=None):
    """The first layer of a written file, or the one of that name; None if it is not there."""
    source = gdal.OpenEx(str(path), gdal.OF_VECTOR)
    layer = source.GetLayerByName(layer_name) if layer_name else source.GetLayer(0)
    return read_layer(layer) if layer else None


POSSIBLE = ["X_POSSIBLE_NAMES=lon*,x,easting,*lon,*longitude", "Y_POSSIBLE_NAMES=lat*,y,northing,*lat,*latitude"]


def read_by_gdal(path):
    """What GDAL's own CSV reader makes of a file, with types detected; a text if it cannot."""
    try:
        source = gdal.OpenEx(
            "CSV:" + str(path), gdal.OF_VECTOR, allowed_drivers=["CSV"],
            open_options=["AUTODETECT_TYPE=YES", "AUTODETECT_SIZE_LIMIT=0", "KEEP_GEOM_COLUMNS=YES", *POSSIBLE])
        return read_layer(source.GetLayer(0))
    except (RuntimeError, AttributeError, UnicodeDecodeError, ValueError) as error:
        return f"{type(error).__name__}: {error}"
