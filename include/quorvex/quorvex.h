#pragma once

// Everything quorvexCommon and quorvexBase export, in one include.

// quorvexBase
#include "quorvex/base/NumToString.h"
#include "quorvex/base/QuorvexModel.h"

// quorvexCommon
#include "quorvex/Logger.h"
#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/Layer.h"
#include "quorvex/baseType/Path.h"
#include "quorvex/baseType/Point2.h"
#include "quorvex/baseType/QuorvexPrintModel.h"
#include "quorvex/baseType/TypeFillRegion.h"
#include "quorvex/baseType/Types.h"
#include "quorvex/baseTypeIO/GCode.h"
#include "quorvex/baseTypeIO/TextFileWriter.h"
#include "quorvex/planeGeometry/BoundaryTransform.h"

// Polygon algebra
#include "quorvex/polygon/Clipper.h"
#include "quorvex/polygon/FixedPointScale.h"
#include "quorvex/polygon/PolyTree.h"
#include "quorvex/polygon/PolygonTypes.h"
#include "quorvex/polygon/RegionBoolean.h"
// Archive streams, print-model archive and parameter capture
#include "quorvex/base/BuildInfo.h"
#include "quorvex/base/DataArchiveConfig.h"
#include "quorvex/base/StringConvert.h"
#include "quorvex/base/WindowsFileOperator.h"
#include "quorvex/baseType/ModelArchive.h"
#include "quorvex/capture/ArchiveRecord.h"
#include "quorvex/capture/ArchiveStream.h"
#include "quorvex/capture/CaptureHook.h"
#include "quorvex/capture/TestBug.h"
// quorvexCommon: loop simplification
#include "quorvex/planeGeometry/QEMSimp.h"
#include "quorvex/planeGeometry/SimplifyDP.h"
#include "quorvex/planeGeometry/SimplifyDistance.h"
// quorvexCommon: meshes and spatial primitives
#include "quorvex/base/BaseTriMesh.h"
#include "quorvex/base/MeshReaders.h"
#include "quorvex/baseTypeIO/EntityToMesh.h"
#include "quorvex/baseTypeIO/MeshMemoryIO.h"
#include "quorvex/baseTypeIO/ObjReader.h"
#include "quorvex/baseTypeIO/ReadTriMesh.h"
#include "quorvex/spatial/Bbox3.h"
#include "quorvex/spatial/FaceSegment.h"
