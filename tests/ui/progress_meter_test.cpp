#include "ui/progress_meter.h"

#include <gtest/gtest.h>

namespace fenwright::ui {
namespace {

TEST(ProgressMeter, CountsInPerCentAndHoldsValuesAtTheEnds) {
  ProgressMeter meter;
  meter.Start(400, 0);
  EXPECT_EQ(meter.Text(), "0 %");
  meter.Reach(180, 10);
  EXPECT_EQ(meter.Percent(), 45);
  EXPECT_EQ(meter.Text(), "45 %");
  meter.Reach(500, 20);
  EXPECT_EQ(meter.Value(), 400);
  EXPECT_EQ(meter.Percent(), 100);
  meter.Reach(-1, 30);
  EXPECT_EQ(meter.Percent(), 0);
  meter.Start(0, 40);
  EXPECT_EQ(meter.Maximum(), 1);
}

TEST(ProgressMeter, SaysTheRemainingTimeOnceThereIsAPace) {
  ProgressMeter meter;
  meter.Start(1000, 5000);
  meter.Reach(99, 5999);
  EXPECT_EQ(meter.Text(), "9 %") << "a second has not passed";
  meter.Reach(100, 6000);
  EXPECT_EQ(meter.Text(), "10 %   残り 約 9 秒");
  meter.Reach(200, 6400);
  EXPECT_EQ(meter.Text(), "20 %   残り 約 9 秒") << "to be read, it stays half a second";
  meter.Reach(200, 6500);
  EXPECT_EQ(meter.Text(), "20 %   残り 約 6 秒");
  meter.Reach(1000, 12000);
  EXPECT_EQ(meter.Text(), "100 %   残り 約 0 秒");
}

TEST(ProgressMeter, WithoutASingleStepThereIsNoPace) {
  ProgressMeter meter;
  meter.Start(1000, 0);
  meter.Reach(0, 60000);
  EXPECT_EQ(meter.Text(), "0 %");
}

TEST(ProgressMeter, LongTimesAreInMinutes) {
  ProgressMeter meter;
  meter.Start(100, 0);
  meter.Reach(10, 14'000);
  EXPECT_EQ(meter.Text(), "10 %   残り 約 2 分 6 秒");
}

TEST(ProgressMeter, ANewPieceOfWorkForgetsThePaceOfTheLast) {
  ProgressMeter meter;
  meter.Start(100, 0);
  meter.Reach(50, 2000);
  ASSERT_EQ(meter.Text(), "50 %   残り 約 2 秒");
  meter.Start(100, 2000);
  meter.Reach(10, 2900);
  EXPECT_EQ(meter.Text(), "10 %");
}

}  // namespace
}  // namespace fenwright::ui
