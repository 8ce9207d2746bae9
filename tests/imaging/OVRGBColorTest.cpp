#include <gtest/gtest.h>

#include "imaging/OVRGBColor.h"

namespace {

void expectColor(OVRGBColor const& c, float r, float g, float b)
{
    EXPECT_NEAR(c.red, r, 1e-3f);
    EXPECT_NEAR(c.green, g, 1e-3f);
    EXPECT_NEAR(c.blue, b, 1e-3f);
}

HSV hsvOf(float r, float g, float b)
{
    HSV hsv;
    OVRGBColor(r, g, b).getAsHSV(&hsv.h, &hsv.s, &hsv.v);
    return hsv;
}

} // namespace

TEST(OVRGBColor, HueFormulasAndTies)
{
    HSV const black = hsvOf(0, 0, 0);
    EXPECT_EQ(black.h, 0.0f);
    EXPECT_EQ(black.s, 0.0f);
    EXPECT_EQ(black.v, 0.0f);

    EXPECT_FLOAT_EQ(hsvOf(255, 255, 0).h, 60.0f);
    EXPECT_FLOAT_EQ(hsvOf(0, 255, 255).h, 180.0f);
    EXPECT_FLOAT_EQ(hsvOf(255, 0, 255).h, 300.0f) << "red-blue tie wraps through the red formula";
    EXPECT_FLOAT_EQ(hsvOf(0, 0, 255).h, 240.0f);

    HSV const orange = hsvOf(255, 127.5f, 0);
    EXPECT_FLOAT_EQ(orange.h, 30.0f);
    EXPECT_FLOAT_EQ(orange.s, 1.0f);
    EXPECT_FLOAT_EQ(orange.v, 1.0f);
}

TEST(OVRGBColor, SetFromHSVWrapsAnyHue)
{
    OVRGBColor c;
    c.setFromHSV(-30, 1, 1);
    expectColor(c, 255, 0, 127.5f);
    c.setFromHSV(720, 1, 1);
    expectColor(c, 255, 0, 0);
    c.setFromHSV(-720, 1, 1);
    expectColor(c, 255, 0, 0);
    for (float h : {0.0f, 77.0f, 300.0f}) {
        c.setFromHSV(h, 0, 0.5f);
        expectColor(c, 127.5f, 127.5f, 127.5f);
    }
    c.setFromHSV(0, 1, 1.2f);
    EXPECT_NEAR(c.red, 306.0f, 1e-3f) << "nothing clamps";
}

TEST(OVRGBColor, RoundTripOverAGrid)
{
    for (int r = 0; r <= 255; r += 15)
        for (int g = 0; g <= 255; g += 15)
            for (int b = 0; b <= 255; b += 15) {
                OVRGBColor const original{float(r), float(g), float(b)};
                float h, s, v;
                original.getAsHSV(&h, &s, &v);
                EXPECT_GE(h, 0.0f);
                EXPECT_LT(h, 360.0f);
                OVRGBColor back;
                back.setFromHSV(h, s, v);
                ASSERT_NEAR(back.red, r, 0.01f) << r << "," << g << "," << b;
                ASSERT_NEAR(back.green, g, 0.01f) << r << "," << g << "," << b;
                ASSERT_NEAR(back.blue, b, 0.01f) << r << "," << g << "," << b;
            }
}

TEST(OVRGBColor, HueAndSaturationEdits)
{
    OVRGBColor grey(100, 100, 100);
    grey.setHue(120);
    expectColor(grey, 100, 100, 100);

    OVRGBColor red(255, 0, 0);
    red.setHue(120);
    expectColor(red, 0, 255, 0);

    OVRGBColor pink(255, 127.5f, 127.5f);
    pink.setSaturation(0);
    expectColor(pink, 255, 255, 255);
    pink = OVRGBColor(255, 127.5f, 127.5f);
    pink.setSaturation(1);
    expectColor(pink, 255, 0, 0);
}
