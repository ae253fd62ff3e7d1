#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <sstream>
#include <vector>

#include "python_oracle.h"
#include "zor.h"

namespace {

void set_defaults() {
  Alignment_reset();
  for (int i = 0; i < 12; i++) Alignment.value[i] = 0.0f;
  Alignment.value[ALIGN_XSCALE] = Alignment.value[ALIGN_YSCALE] = Alignment.value[ALIGN_ZSCALE] = 1.0f;
  Alignment.RigidBody = 1;
}

TEST(AffineMatrix, CosineAndSineOfQuarterTurns) {
  float c, s;
  define_cosine_sine(0, &c, &s);
  EXPECT_EQ(c, 1.0f);
  EXPECT_EQ(s, 0.0f);
  define_cosine_sine(1, &c, &s);
  EXPECT_EQ(c, 0.0f);
  EXPECT_EQ(s, 1.0f);
  define_cosine_sine(2, &c, &s);
  EXPECT_EQ(c, -1.0f);
  EXPECT_EQ(s, 0.0f);
  define_cosine_sine(-1, &c, &s);
  EXPECT_EQ(c, 0.0f);
  EXPECT_EQ(s, -1.0f);
  // Outside -1 to 2 both stay 0, 270 and -180 degrees included.
  // Counts whose angle in degrees would not fit an int (a registration
  // file's orientation is read as it stands) are no quarter turn either.
  for (int k : {3, -2, 4, 7, INT_MAX, INT_MIN, INT_MIN + 1, INT_MIN + 2, 23860930, -23860930}) {
    define_cosine_sine(k, &c, &s);
    EXPECT_EQ(c, 0.0f) << k;
    EXPECT_EQ(s, 0.0f) << k;
  }
}

TEST(AffineMatrix, DefaultsGiveIdentities) {
  set_defaults();
  define_affine_matrix();
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) {
      EXPECT_EQ(Alignment.Affine[i][j], i == j ? 1.0f : 0.0f) << i << j;
      EXPECT_EQ(Alignment.AffineI[i][j], i == j ? 1.0f : 0.0f) << i << j;
      EXPECT_EQ(Alignment.Orient[i][j], i == j ? 1.0f : 0.0f) << i << j;
    }
}

TEST(AffineMatrix, ThreeQuarterTurnGivesAZeroBlockAndNoCrash) {
  set_defaults();
  Alignment.OrientRotation.x = 3;
  define_affine_matrix();
  // Rx has a zero lower 2 x 2 block, so rows 1 and 2 of the rotation vanish.
  for (int i = 1; i < 3; i++)
    for (int j = 0; j < 3; j++) EXPECT_EQ(Alignment.Orient[i][j], 0.0f) << i << j;
  double det = 0.0;
  const float(*a)[4] = Alignment.Affine;
  det = a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) - a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
        a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
  EXPECT_EQ(det, 0.0);
}

TEST(AffineMatrix, DeckOfCardsWithThetaZeroIsAShearInZ) {
  set_defaults();
  Alignment.RigidBody = 0;
  Alignment.value[ALIGN_PHI] = 10.0f;
  Alignment.value[ALIGN_PSI] = -20.0f;
  define_affine_matrix();
  const double rad = 0.017453292522222223;
  EXPECT_EQ(Alignment.Affine[0][0], 1.0f);
  EXPECT_EQ(Alignment.Affine[0][1], 0.0f);
  EXPECT_EQ(Alignment.Affine[1][0], 0.0f);
  EXPECT_EQ(Alignment.Affine[1][1], 1.0f);
  EXPECT_EQ(Alignment.Affine[2][0], 0.0f);
  EXPECT_EQ(Alignment.Affine[2][1], 0.0f);
  EXPECT_EQ(Alignment.Affine[2][2], 1.0f);
  EXPECT_NEAR(Alignment.Affine[0][2], std::tan(-20.0 * rad), 1e-6);
  EXPECT_NEAR(Alignment.Affine[1][2], std::tan(10.0 * rad), 1e-6);
  // z stays z: the inverse shears back.
  EXPECT_NEAR(Alignment.AffineI[0][2], -std::tan(-20.0 * rad), 1e-6);
  EXPECT_EQ(Alignment.AffineI[2][2], 1.0f);
}

const char *kNumpyAffine =
    "import sys, numpy as np\n"
    "rows = [l.split() for l in sys.stdin.read().strip().split('\\n')]\n"
    "def cs(k):\n"
    "    return {0: (1.0, 0.0), 2: (-1.0, 0.0), 1: (0.0, 1.0), -1: (0.0, -1.0)}.get(k, (0.0, 0.0))\n"
    "for r in rows:\n"
    "    rigid, ox, oy, oz, swap = [int(t) for t in r[:5]]\n"
    "    v = np.array([float(t) for t in r[5:17]], dtype=np.float32)\n"
    "    c, s = cs(ox); Rx = np.array([[1,0,0],[0,c,-s],[0,s,c]])\n"
    "    c, s = cs(oy); Ry = np.array([[c,0,s],[0,1,0],[-s,0,c]])\n"
    "    c, s = cs(oz); Rz = np.array([[c,-s,0],[s,c,0],[0,0,1]])\n"
    "    Sz = np.diag([1.0, 1.0, -1.0 if swap else 1.0])\n"
    "    O = Rx @ (Ry @ Rz) @ Sz\n"
    "    t, p, s = [float(np.float32(float(a) * 0.017453292522222223)) for a in v[3:6]]\n"
    "    if rigid:\n"
    "        M = np.array([[np.cos(t)*np.cos(s)+np.sin(s)*np.sin(t)*np.sin(p), -np.sin(t)*np.cos(p),\n"
    "                       np.cos(t)*np.sin(s)-np.cos(s)*np.sin(t)*np.sin(p)],\n"
    "                      [np.sin(t)*np.cos(s)-np.sin(s)*np.cos(t)*np.sin(p), np.cos(t)*np.cos(p),\n"
    "                       np.sin(t)*np.sin(s)+np.cos(s)*np.cos(t)*np.sin(p)],\n"
    "                      [-np.cos(p)*np.sin(s), -np.sin(p), np.cos(p)*np.cos(s)]])\n"
    "    else:\n"
    "        M = np.array([[np.cos(t), -np.sin(t), np.tan(s)], [np.sin(t), np.cos(t), np.tan(p)], [0, 0, 1.0]])\n"
    "    xs, ys, zs = [float(a) for a in v[6:9]]\n"
    "    kxy, kxz, kyz = [float(a) for a in v[9:12]]\n"
    "    S = np.array([[1/xs, kxy/xs, kxz/xs], [0, 1/ys, kyz/ys], [0, 0, 1/zs]])\n"
    "    A = np.eye(4); A[:3,:3] = (M @ S) @ O; A[:3,3] = -v[0:3].astype(float)\n"
    "    AI = np.linalg.inv(A)\n"
    "    print(' '.join('%.17g' % x for x in list(A.ravel()) + list(AI.ravel())))\n";

TEST(AffineMatrix, MatchesNumpyForRigidAndDeckOfCardsRegistrations) {
  struct Case {
    int rigid, ox, oy, oz, swap;
    float v[12];
  };
  const Case cases[] = {
      {1, 0, 0, 0, 0, {1.5f, -2.0f, 3.25f, 12.0f, -7.5f, 30.0f, 1, 1, 1, 0, 0, 0}},
      {1, 1, -1, 2, 1, {0, 0, 0, 45.0f, 10.0f, -60.0f, 1.1f, 0.9f, 1.2f, 0.05f, -0.1f, 0.2f}},
      {0, 0, 1, 0, 0, {-4.0f, 2.0f, 0.5f, 17.0f, 8.0f, -12.0f, 2.0f, 1.0f, 0.5f, 0.3f, 0, 0}},
      {1, 2, 0, -1, 1, {0.1f, 0.2f, 0.3f, -90.0f, 33.0f, 5.0f, 1, 1, 1, 0, 0, 0}},
      {0, -1, 2, 1, 0, {0, 0, 0, 0.0f, 25.0f, -35.0f, 1, 1, 1, 0.4f, 0.1f, -0.3f}},
  };
  std::ostringstream input;
  input.precision(9);
  std::vector<std::vector<float>> ours;
  for (const Case &c : cases) {
    Alignment_reset();
    Alignment.RigidBody = c.rigid;
    Alignment.OrientRotation = {c.ox, c.oy, c.oz};
    Alignment.OrientSwapZ = c.swap;
    for (int i = 0; i < 12; i++) Alignment.value[i] = c.v[i];
    define_affine_matrix();
    std::vector<float> m;
    for (int i = 0; i < 4; i++)
      for (int j = 0; j < 4; j++) m.push_back(Alignment.Affine[i][j]);
    for (int i = 0; i < 4; i++)
      for (int j = 0; j < 4; j++) m.push_back(Alignment.AffineI[i][j]);
    ours.push_back(m);
    input << c.rigid << " " << c.ox << " " << c.oy << " " << c.oz << " " << c.swap;
    for (float f : c.v) input << " " << f;
    input << "\n";
  }
  std::vector<double> want;
  ASSERT_TRUE(run_python_oracle(kNumpyAffine, input.str(), want));
  ASSERT_EQ(want.size(), ours.size() * 32);
  for (size_t k = 0; k < ours.size(); k++)
    for (int e = 0; e < 32; e++) {
      const double w = want[k * 32 + e];
      EXPECT_NEAR(ours[k][e], w, 2e-6 * (1.0 + std::fabs(w))) << "case " << k << " entry " << e;
    }
}

}  // namespace
