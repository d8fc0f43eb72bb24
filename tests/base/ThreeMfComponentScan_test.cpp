#include "ThreeMfComponentScan.h"

#include <gtest/gtest.h>
#include <zip.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "quorvex/base/MeshReaders.h"
#include "support/LogLines.h"
#include "support/MeshSamples.h"

namespace Quorvex {
namespace {

constexpr std::uint64_t kEndless = UINT64_MAX;

const char kMesh[] = R"(<object id="1" type="model"><mesh><vertices><vertex x="0" y="0" z="0"/>
<vertex x="1" y="0" z="0"/><vertex x="0" y="1" z="0"/></vertices><triangles>
<triangle v1="0" v2="1" v3="2"/></triangles></mesh></object>)";

// Objects 2 .. levels + 1, each placing the one before twice.
std::string doubling_chain(int levels) {
  std::string xml;
  for (int k = 2; k <= levels + 1; ++k) {
    const std::string below = std::to_string(k - 1);
    xml += "<object id=\"" + std::to_string(k) +
           "\" type=\"model\"><components><component objectid=\"" + below +
           "\"/><component objectid=\"" + below + "\"/></components></object>\n";
  }
  return xml;
}

std::string model(const std::string& resources, const std::string& build) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<model unit=\"millimeter\" "
         "xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\"><resources>" +
         resources + "</resources><build>" + build + "</build></model>";
}

std::uint64_t count_in_pieces(const std::string& xml, std::size_t piece) {
  ComponentPlacementCounter counter;
  for (std::size_t at = 0; at < xml.size(); at += piece) {
    counter.feed(xml.data() + at, std::min(piece, xml.size() - at));
  }
  return counter.placements();
}

struct Case {
  const char* what;
  std::string xml;
  std::uint64_t placements;
};

// Each document is fed whole, a byte at a time and in pieces of 7 bytes: every state must
// survive a cut anywhere.
TEST(ComponentPlacementCounterTest, CountsWhatTheBuildPlacesWhereverTheXmlIsCut) {
  const std::string chain = kMesh + doubling_chain(2);  // 3 places 2 twice, 2 places 1 twice
  const Case cases[] = {
      {"a mesh placed once", model(kMesh, R"(<item objectid="1"/>)"), 1},
      {"a chain of two doublings", model(chain, R"(<item objectid="3"/>)"), 7},
      {"items add up", model(chain, R"(<item objectid="3"/><item objectid="1"/>)"), 8},
      {"an unknown id counts once", model(chain, R"(<item objectid="9"/>)"), 1},
      {"a component defined after its user",
       model(R"(<object id="2"><components><component objectid="3"/></components></object>
                <object id="3"><components><component objectid="1"/><component objectid="1"/>
                </components></object>)" +
                 std::string(kMesh),
             R"(<item objectid="2"/>)"),
       4},
      {"comments, CDATA and instructions hide their tags",
       model(chain + R"(<!-- <item objectid="3"/> --><![CDATA[ <item objectid="3"/> ]]>
                        <?pi <item objectid="3"/> ?><!---->)",
             R"(<item objectid="1"/>)"),
       1},
      {"quoted values hide brackets and tags",
       model(chain + R"(<metadata name="a>b<item objectid='3'/>">x</metadata>)",
             R"(<item path='>' objectid='3' note="<component objectid='3'/>"/>)"),
       7},
      {"namespace prefixes and spaces",
       model(R"(<m:object id = "2" ><m:components><m:component objectid='1' />
                <m:component objectid="1"/></m:components></m:object >)" +
                 std::string(kMesh),
             R"(<m:item objectid="2"></m:item>)"),
       3},
      {"ids written with references, signs and zeros",
       model(chain,
             R"(<item objectid="&#51;"/><item objectid="&#x33;"/><item objectid=" +003 "/>)"),
       21},
      {"an empty object element", model(R"(<object id="5"/>)", R"(<item objectid="5"/>)"), 1},
      {"a document type with an internal subset",
       "<!DOCTYPE model [<!ENTITY a \"<item objectid='3'/>\">]>" +
           model(chain, R"(<item objectid="2"/>)"),
       3},
      {"an entity only a document type defines", model(chain, R"(<item objectid="&three;"/>)"),
       kEndless},
      {"an object among its own components",
       model(R"(<object id="2"><components><component objectid="2"/></components></object>)",
             R"(<item objectid="2"/>)"),
       kEndless},
      {"seventy doublings saturate", model(kMesh + doubling_chain(70), R"(<item objectid="71"/>)"),
       kEndless},
      {"components outside an object are no placements",
       model(chain + R"(<component objectid="3"/>)", R"(<item objectid="1"/>)"), 1},
      {"broken XML gives a count, not a crash", "<<item objectid=\"1\" <object id=\"2\"/> '", 0},
  };
  for (const Case& c : cases) {
    for (std::size_t piece : {c.xml.size(), std::size_t{1}, std::size_t{7}}) {
      EXPECT_EQ(count_in_pieces(c.xml, piece), c.placements) << c.what << ", pieces of " << piece;
    }
  }
}

// Writes a package of the given parts with libzip, deflated as 3MF writers do.
std::string write_package(const std::string& name,
                          const std::vector<std::pair<std::string, std::string>>& parts) {
  const std::string path = qxtest::temp_path(name);
  int error = 0;
  zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
  EXPECT_NE(archive, nullptr);
  for (const auto& [part, text] : parts) {
    zip_source_t* source = zip_source_buffer(archive, text.data(), text.size(), 0);
    EXPECT_GE(zip_file_add(archive, part.c_str(), source, ZIP_FL_OVERWRITE), 0);
  }
  EXPECT_EQ(zip_close(archive), 0);
  return path;
}

std::string package_with(const std::string& name, const std::string& model_xml) {
  return write_package(
      name,
      {{"[Content_Types].xml",
        R"(<?xml version="1.0" encoding="UTF-8"?><Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"><Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/><Default Extension="model" ContentType="application/vnd.ms-package.3dmanufacturing-3dmodel+xml"/></Types>)"},
       {"_rels/.rels",
        R"(<?xml version="1.0" encoding="UTF-8"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Target="/3D/3dmodel.model" Id="rel0" Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/></Relationships>)"},
       {"3D/3dmodel.model", model_xml}});
}

// A kilobyte that places a triangle 2^70 times kept lib3mf busy for good while it read the
// file; it is refused before lib3mf reads it. Below the bound the file still reads.
TEST(ComponentPlacementCounterTest, TheReaderRefusesAnEndlessBuildBeforeLib3mfReadsIt) {
  const std::string endless =
      package_with("endless.3mf", model(kMesh + doubling_chain(70), R"(<item objectid="71"/>)"));
  std::uint64_t placed = 0;
  ASSERT_TRUE(count_3mf_placements(endless, placed));
  EXPECT_EQ(placed, kEndless);
  BaseTriMesh mesh;
  qxtest::LogLines log;
  EXPECT_EQ(read_3mf_mesh(endless, mesh, true, true), kBaseReadCorrupt);
  EXPECT_EQ(mesh.get_vn(), 0u);
  EXPECT_TRUE(log.has_line_with(endless, "beyond"));

  const std::string small =
      package_with("small.3mf", model(kMesh + doubling_chain(3), R"(<item objectid="4"/>)"));
  ASSERT_TRUE(count_3mf_placements(small, placed));
  EXPECT_EQ(placed, 15u);
  ASSERT_EQ(read_3mf_mesh(small, mesh, true, true), 0);
  EXPECT_EQ(mesh.get_fn(), 8u);

  EXPECT_FALSE(count_3mf_placements(qxtest::write_temp("not_a_zip.3mf", "solid x"), placed));
}

}  // namespace
}  // namespace Quorvex
