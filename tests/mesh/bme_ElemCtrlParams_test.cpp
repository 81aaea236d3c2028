#include <CoreGeometry/bme_ElemCtrlParams.h>

#include <gtest/gtest.h>

TEST(bme_ElemCtrlParams, DefaultsCountAsDefaultForEveryLibrary) {
  bme_ElemCtrlParams controls;
  for (const auto library : {bme_LIBRARY_UNKNOWN, bme_STANDARD, bme_EXPLICIT}) {
    controls.SetElemLib(library);
    EXPECT_TRUE(controls.IsDefault());
    EXPECT_TRUE(controls.IsDefault(bme_EXPLICIT));
    EXPECT_TRUE(controls.HasDefaultSectionControls(bme_STANDARD));
  }
}

TEST(bme_ElemCtrlParams, RealsCountAsDefaultStrictlyWithinTheTolerance) {
  bme_ElemCtrlParams controls;
  controls.SetWeightFactor(0.5000005);
  EXPECT_TRUE(controls.IsDefault());
  controls.SetWeightFactor(0.500002);
  EXPECT_FALSE(controls.IsDefault());
  controls.SetWeightFactor(0.5);
  controls.SetQuadraticBulkVisk(1.1);
  EXPECT_FALSE(controls.HasDefaultSectionControls(bme_STANDARD));
}

TEST(bme_ElemCtrlParams, UnknownIsToleratedForAccuracyAndDistortionOnly) {
  bme_ElemCtrlParams controls;
  controls.SetSoAccuracy(bme_ACCURACY_UNKNOWN);
  controls.SetDistortionCtrl(bme_DISTORTION_UNKNOWN);
  EXPECT_TRUE(controls.IsDefault());
  bme_ElemCtrlParams on = controls;
  on.SetSoAccuracy(bme_ACCURACY_ON);
  EXPECT_FALSE(on.IsDefault());
  controls.SetElemDeletion(bme_DELETION_UNKNOWN);
  EXPECT_FALSE(controls.IsDefault());
}

TEST(bme_ElemCtrlParams, HourglassStiffnessMattersForIsDefaultAlone) {
  for (const auto set : {&bme_ElemCtrlParams::SetHrGlsStiffness, &bme_ElemCtrlParams::SetBendingHrGls,
                         &bme_ElemCtrlParams::SetDrillingHrGls}) {
    bme_ElemCtrlParams controls;
    (controls.*set)(2.0);
    EXPECT_FALSE(controls.IsDefault());
    EXPECT_TRUE(controls.HasDefaultSectionControls(bme_EXPLICIT));
    EXPECT_FALSE(controls == bme_ElemCtrlParams());
  }
  bme_ElemCtrlParams controls;
  controls.SetHrGlsControl(bme_ENHANCED);
  EXPECT_FALSE(controls.HasDefaultSectionControls(bme_STANDARD));
  EXPECT_TRUE(bme_ElemCtrlParams() == bme_ElemCtrlParams());
}
