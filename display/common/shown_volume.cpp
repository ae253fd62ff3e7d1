// Which volume the panels show: a time point of the shown stack, or, for a
// negative time point, a volume of the anatomy stack counted from its end.
#include "zor_compose.h"
#include "zor_stack.h"

namespace {

void point_at(const data_stack &stack, int volume) {
  mosaic.fSpaceMatrix = nullptr;
  mosaic.fcSpaceMatrix = nullptr;
  mosaic.v3SpaceMatrix = nullptr;
  if (volume < 0 || volume >= stack.nt) return;
  switch (stack.data_type) {
    case 0:
      if (stack.Volume) mosaic.fSpaceMatrix = stack.Volume[volume];
      break;
    case 3:
      if (stack.v3Volume) mosaic.v3SpaceMatrix = stack.v3Volume[volume];
      break;
    default:
      if (stack.fcVolume) mosaic.fcSpaceMatrix = stack.fcVolume[volume];
      break;
  }
}

}  // namespace

void set_mosaic_SpaceMatrix(int iTime) {
  graph.iLastTime = graph.iTime;
  graph.iTime = iTime;
  if (iTime < 0)
    point_at(anatomy_stack, anatomy_stack.nt + iTime);
  else
    point_at(*mosaic.stack, iTime);
  // The gray projections belong to the volume they were made from.
  if (mosaic.MIPStatus == 1) mosaic.MIPStatus = 0;
}
