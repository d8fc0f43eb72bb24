#pragma once

#include <istream>
#include <ostream>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/Layer.h"
#include "quorvex/baseType/Path.h"
#include "quorvex/baseType/Point2.h"
#include "quorvex/capture/ArchiveStream.h"

// The binary form of the print model on standard streams: the same bytes as
// read_archive and write_archive, with the stream wrapped into a handle for the call.
// There is no text form: these operators write and read bytes.
//
// Readers stop cleanly where the stream ends: they never allocate more elements than a
// stream of known size can still deliver, each list keeps the elements that came
// complete, and the stream's state flags tell the caller.

namespace Quorvex {

QX_EXPORT std::istream& operator>>(std::istream& in, Entity& entity);
QX_EXPORT std::ostream& operator<<(std::ostream& out, const Entity& entity);
QX_EXPORT std::istream& operator>>(std::istream& in, Layer& layer);
QX_EXPORT std::ostream& operator<<(std::ostream& out, const Layer& layer);
QX_EXPORT std::istream& operator>>(std::istream& in, Path& path);
QX_EXPORT std::ostream& operator<<(std::ostream& out, const Path& path);
QX_EXPORT std::istream& operator>>(std::istream& in, Point2Vector& points);
QX_EXPORT std::ostream& operator<<(std::ostream& out, const Point2Vector& points);
QX_EXPORT std::istream& operator>>(std::istream& in, std::vector<Point2>& points);
QX_EXPORT std::ostream& operator<<(std::ostream& out, const std::vector<Point2>& points);

// Handle forms; the ones for std::vector<Point2> are the bulk point vector of
// ArchiveStream.h, which is the point sequence of this format.
QX_EXPORT ReadAble operator>>(ReadAble in, Path& path);
QX_EXPORT WriteAble operator<<(WriteAble out, const Path& path);
QX_EXPORT ReadAble operator>>(ReadAble in, Layer& layer);
QX_EXPORT WriteAble operator<<(WriteAble out, const Layer& layer);

}  // namespace Quorvex
