// What CEA-708 windows and CEA-608 captions look like on the screen, by the tables of the standards.
#include "captions/caption_screen.h"

#include <gtest/gtest.h>

#include "captions/cea708_service.h"
#include "tests/captions/cea708_stream.h"

namespace fmp4 {

namespace {

using captions::Alignment;
using captions::CaptionRegion;
using captions::CaptionScreen;
using captions::Cea708Service;
using captions::Colour;
using captions::Edge;
using captions::Font;
using captions::Opacity;
using captions::PenOffset;
using captions::PenSize;
using captions::PictureShape;
using captions::TextShape;
using namespace cea708;

CaptionScreen screenOf(const Bytes& codes, PictureShape shape = PictureShape::Wide) {
  Cea708Service service(30);
  for (std::size_t i = 0; i < codes.size(); i += 31)
    service.push(0, std::span(codes).subspan(i, std::min<std::size_t>(31, codes.size() - i)));
  return service.screen(shape);
}
CaptionRegion regionOf(const Bytes& codes, PictureShape shape = PictureShape::Wide) {
  return screenOf(codes, shape).regions.at(0);
}

TEST(CaptionScreen, PictureShapeIsTheNearer) {
  EXPECT_EQ(captions::pictureShapeOf(1920, 1080), PictureShape::Wide);
  EXPECT_EQ(captions::pictureShapeOf(640, 480), PictureShape::Standard);
  EXPECT_EQ(captions::pictureShapeOf(720, 576), PictureShape::Standard);
  EXPECT_EQ(captions::pictureShapeOf(1024, 576), PictureShape::Wide);
  EXPECT_EQ(captions::pictureShapeOf(0, 480), PictureShape::Wide);
  EXPECT_EQ(captions::pictureShapeOf(640, 0), PictureShape::Wide);
}

TEST(CaptionScreen, HiddenWindowsAreNotPartOfIt) {
  EXPECT_TRUE(screenOf(DFx(0, {.visible = false}) + chars("x")).empty());
  EXPECT_EQ(screenOf(DFx(0, {})).regions.size(), 1u) << "a window without text is filled";
}

// CTA-708-E, 8.2: 75 units in height; 210 in width and 42 columns at 16:9, 160 and 32 at 4:3.
TEST(CaptionScreen, AbsolutePositionsCountTheUnitsOfThePicturesShape) {
  const Bytes window =
      DFx(0, {.relative = false, .vertical = 30, .horizontal = 80, .rows = 3, .columns = 16});
  const CaptionRegion wide = regionOf(window), standard = regionOf(window, PictureShape::Standard);
  EXPECT_NEAR(wide.top, 10 + 80 * 30 / 75.0, 1e-9);
  EXPECT_NEAR(wide.left, 10 + 80 * 80 / 210.0, 1e-9);
  EXPECT_NEAR(wide.width, 80 * 16 / 42.0, 1e-9);
  EXPECT_NEAR(wide.height, 80 * 3 / 15.0, 1e-9);
  EXPECT_NEAR(standard.top, wide.top, 1e-9);
  EXPECT_NEAR(standard.left, 10 + 80 * 80 / 160.0, 1e-9);
  EXPECT_NEAR(standard.width, 80 * 16 / 32.0, 1e-9);
}

TEST(CaptionScreen, RelativePositionsArePercentOfTheSafeTitleArea) {
  for (const PictureShape shape : {PictureShape::Wide, PictureShape::Standard}) {
    const CaptionRegion region =
        regionOf(DFx(0, {.vertical = 25, .horizontal = 50, .rows = 1, .columns = 1}), shape);
    EXPECT_NEAR(region.top, 30, 1e-9);
    EXPECT_NEAR(region.left, 50, 1e-9);
  }
}

TEST(CaptionScreen, AnchorPointsAreRowByRow) {
  for (unsigned anchor = 0; anchor < 9; ++anchor) {
    const CaptionRegion region =
        regionOf(DFx(0, {.vertical = 50, .horizontal = 50, .anchor = anchor, .rows = 3, .columns = 21}));
    EXPECT_NEAR(region.top, 50 - 8.0 * (anchor / 3), 1e-9) << anchor;
    EXPECT_NEAR(region.left, 50 - 20.0 * (anchor % 3), 1e-9) << anchor;
  }
}

TEST(CaptionScreen, WindowsStayInsideThePicture) {
  const CaptionRegion far = regionOf(DFx(0, {.vertical = 99, .horizontal = 99, .rows = 12, .columns = 42}));
  EXPECT_NEAR(far.top, 100 - 12 * 80 / 15.0, 1e-9);
  EXPECT_NEAR(far.left, 20, 1e-9);
  const CaptionRegion near = regionOf(DFx(0, {.anchor = 8, .rows = 12, .columns = 32}));
  EXPECT_EQ(near.top, 0);
  EXPECT_EQ(near.left, 0);
  EXPECT_EQ(regionOf(DFx(0, {.columns = 64})).width, 100) << "wider than the picture";
}

// CTA-708-E, 8.4.11: predefined window styles.
TEST(CaptionScreen, PredefinedWindowStyles) {
  struct Style {
    Alignment alignment;
    Opacity fill;
  };
  const Style kStyles[] = {{Alignment::Left, Opacity::Solid},       {Alignment::Left, Opacity::Transparent},
                           {Alignment::Centre, Opacity::Solid},     {Alignment::Left, Opacity::Solid},
                           {Alignment::Left, Opacity::Transparent}, {Alignment::Centre, Opacity::Solid},
                           {Alignment::Left, Opacity::Solid}};
  for (unsigned style = 1; style <= 7; ++style) {
    const CaptionRegion region = regionOf(DFx(0, {.windowStyle = style}));
    EXPECT_EQ(region.alignment, kStyles[style - 1].alignment) << style;
    EXPECT_EQ(region.fillOpacity, kStyles[style - 1].fill) << style;
    EXPECT_EQ(region.fill, captions::kBlack) << style;
    EXPECT_EQ(region.border, Edge::None) << style;
  }
}

TEST(CaptionScreen, WindowAttributes) {
  // Translucent red with a blue border of type 4 (shadow at the left), whose highest bit is in another byte.
  const CaptionRegion region = regionOf(DFx(0, {}) + Bytes{0x97, 0xB0, 0x03, 0x8E, 0x00});
  EXPECT_EQ(region.fill, (Colour{3, 0, 0}));
  EXPECT_EQ(region.fillOpacity, Opacity::Translucent);
  EXPECT_EQ(region.border, Edge::LeftShadow);
  EXPECT_EQ(region.borderColour, (Colour{0, 0, 3}));
  EXPECT_EQ(region.alignment, Alignment::Centre);
  EXPECT_EQ(regionOf(DFx(0, {}) + Bytes{0x97, 0x00, 0xC0, 0x0C, 0x00}).border, Edge::Uniform);
  EXPECT_EQ(regionOf(DFx(0, {}) + Bytes{0x97, 0x00, 0xC0, 0x8C, 0x00}).border, Edge::None) << "not assigned";
}

TextShape shapeOf(const Bytes& codes) {
  return regionOf(codes + chars("x")).cells.at(0).shape;
}

// CTA-708-E, 8.5.12: predefined pen styles.
TEST(CaptionScreen, PredefinedPenStyles) {
  const Font kFonts[] = {Font::Default,         Font::MonospacedSerif,  Font::ProportionalSerif,
                         Font::MonospacedSans,  Font::ProportionalSans, Font::MonospacedSans,
                         Font::ProportionalSans};
  for (unsigned style = 1; style <= 7; ++style) {
    const TextShape shape = shapeOf(DFx(0, {.penStyle = style}));
    EXPECT_EQ(shape.font, kFonts[style - 1]) << style;
    EXPECT_EQ(shape.edge, style >= 6 ? Edge::Uniform : Edge::None) << style;
    EXPECT_EQ(shape.size, PenSize::Standard) << style;
    EXPECT_EQ(shape.offset, PenOffset::Normal) << style;
  }
}

TEST(CaptionScreen, PenAttributes) {
  for (unsigned size = 0; size < 3; ++size)
    EXPECT_EQ(shapeOf(DFx(0, {}) + Bytes{0x90, byte(0x04 | size), 0x00}).size, static_cast<PenSize>(size));
  EXPECT_EQ(shapeOf(DFx(0, {}) + Bytes{0x90, 0x07, 0x00}).size, PenSize::Standard) << "not assigned";
  for (unsigned offset = 0; offset < 3; ++offset)
    EXPECT_EQ(shapeOf(DFx(0, {}) + Bytes{0x90, byte(offset << 2 | 1), 0x00}).offset,
              static_cast<PenOffset>(offset));
  for (unsigned edge = 0; edge < 8; ++edge)
    EXPECT_EQ(shapeOf(DFx(0, {}) + Bytes{0x90, 0x05, byte(edge << 3)}).edge,
              edge <= 5 ? static_cast<Edge>(edge) : Edge::None);
  for (unsigned font = 0; font < 8; ++font)
    EXPECT_EQ(shapeOf(DFx(0, {}) + Bytes{0x90, 0x05, byte(font)}).font, static_cast<Font>(font));
}

TEST(CaptionScreen, EdgesHaveTheColourOfThePen) {
  const Bytes green = {0x91, 0x3F, 0x00, 0x0C};
  EXPECT_EQ(shapeOf(DFx(0, {}) + green).edgeColour, (Colour{0, 3, 0}));
  EXPECT_EQ(shapeOf(DFx(0, {}) + green + DFx(0, {.penStyle = 1})).edgeColour, captions::kBlack);
}

TEST(CaptionScreen, WindowsOfHighPriorityAreAboveTheOthers) {
  const auto withPriority = [](Bytes definition, unsigned priority) {
    definition[1] = byte(definition[1] | priority);
    return definition;
  };
  const CaptionScreen screen = screenOf(withPriority(DFx(0, {}), 0) + withPriority(DFx(1, {}), 7) +
                                        withPriority(DFx(2, {}), 3) + withPriority(DFx(3, {}), 3));
  ASSERT_EQ(screen.regions.size(), 4u);
  EXPECT_EQ(screen.regions[0].window, 1u);
  EXPECT_EQ(screen.regions[1].window, 2u);
  EXPECT_EQ(screen.regions[2].window, 3u);
  EXPECT_EQ(screen.regions[3].window, 0u);
}

}  // namespace

}  // namespace fmp4
