#include "adapters/photolibrary/images/codecs/ColorTransforms.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include <lcms2.h>

namespace tlx::photolibrary {
namespace {

constexpr std::size_t remembered = 16;

struct ReleaseProfile {
  void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, ReleaseProfile>;
using Context = std::shared_ptr<void>;

cmsContext raw(const Context& context) {
  return static_cast<cmsContext>(context.get());
}

class LcmsTransform final : public ColorTransform {
 public:
  LcmsTransform(Context context, cmsHTRANSFORM transform) : context_(std::move(context)), transform_(transform) {}
  ~LcmsTransform() override { cmsDeleteTransform(transform_); }
  void apply(std::uint8_t* rgba, std::size_t pixels) const override {
    cmsDoTransform(transform_, rgba, rgba, static_cast<cmsUInt32Number>(pixels));
  }

 private:
  Context context_;
  cmsHTRANSFORM transform_;
};

/// Whether every colour of a coarse grid comes out as it went in, but for rounding.
bool changesNothing(const ColorTransform& transform) {
  static constexpr int steps = 6;
  std::vector<std::uint8_t> before;
  for (int r = 0; r < steps; ++r) {
    for (int g = 0; g < steps; ++g) {
      for (int b = 0; b < steps; ++b) {
        for (const int value : {r * 51, g * 51, b * 51, 255}) before.push_back(static_cast<std::uint8_t>(value));
      }
    }
  }
  std::vector<std::uint8_t> after = before;
  transform.apply(after.data(), after.size() / 4);
  return std::equal(before.begin(), before.end(), after.begin(), [](int a, int b) { return std::abs(a - b) <= 2; });
}

std::shared_ptr<const ColorTransform> makeTransform(const Context& context, const Profile& profile) {
  if (!profile || cmsGetColorSpace(profile.get()) != cmsSigRgbData) return nullptr;
  const Profile srgb(cmsCreate_sRGBProfileTHR(raw(context)));
  if (!srgb) return nullptr;
  cmsHTRANSFORM handle = cmsCreateTransformTHR(raw(context), profile.get(), TYPE_RGBA_8, srgb.get(), TYPE_RGBA_8,
                                               INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOCACHE | cmsFLAGS_COPY_ALPHA);
  if (!handle) return nullptr;
  auto transform = std::make_shared<LcmsTransform>(context, handle);
  if (changesNothing(*transform)) return nullptr;
  return transform;
}

}  // namespace

ColorTransforms::ColorTransforms()
    : context_(cmsCreateContext(nullptr, nullptr),
               [](void* context) { cmsDeleteContext(static_cast<cmsContext>(context)); }) {}

bool isRgbProfile(Bytes icc) {
  return icc.size() >= 20 && std::memcmp(icc.data() + 16, "RGB ", 4) == 0;
}

std::shared_ptr<const ColorTransform> ColorTransforms::fromProfile(Bytes icc) {
  if (!isRgbProfile(icc)) return nullptr;
  const std::lock_guard lock(mutex_);
  const auto found = std::find_if(known_.begin(), known_.end(), [&](const Known& known) {
    return known.first.size() == icc.size() && std::equal(icc.begin(), icc.end(), known.first.begin());
  });
  if (found != known_.end()) {
    known_.splice(known_.begin(), known_, found);
    return found->second;
  }
  const Profile profile(cmsOpenProfileFromMemTHR(raw(context_), icc.data(), static_cast<cmsUInt32Number>(icc.size())));
  std::shared_ptr<const ColorTransform> transform = makeTransform(context_, profile);
  known_.emplace_front(std::vector<std::uint8_t>(icc.begin(), icc.end()), transform);
  if (known_.size() > remembered) known_.pop_back();
  return transform;
}

std::shared_ptr<const ColorTransform> ColorTransforms::fromPrimaries(int primaries) {
  struct Gamut {
    int number;
    cmsCIExyYTRIPLE corners;
  };
  static constexpr std::array<Gamut, 2> gamuts{{
      {9, {{0.708, 0.292, 1}, {0.170, 0.797, 1}, {0.131, 0.046, 1}}},
      {12, {{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}}},
  }};
  const auto gamut =
      std::find_if(gamuts.begin(), gamuts.end(), [&](const Gamut& each) { return each.number == primaries; });
  if (gamut == gamuts.end()) return nullptr;
  std::vector<std::uint8_t> key{static_cast<std::uint8_t>(primaries)};
  const std::lock_guard lock(mutex_);
  const auto found = std::find_if(known_.begin(), known_.end(), [&](const Known& known) { return known.first == key; });
  if (found != known_.end()) return found->second;

  const cmsCIExyY d65{0.3127, 0.3290, 1};
  const double parameters[5] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
  cmsToneCurve* curve = cmsBuildParametricToneCurve(raw(context_), 4, parameters);
  if (!curve) return nullptr;
  cmsToneCurve* curves[3] = {curve, curve, curve};
  const Profile profile(cmsCreateRGBProfileTHR(raw(context_), &d65, &gamut->corners, curves));
  cmsFreeToneCurve(curve);
  std::shared_ptr<const ColorTransform> transform = makeTransform(context_, profile);
  known_.emplace_front(std::move(key), transform);
  if (known_.size() > remembered) known_.pop_back();
  return transform;
}

}  // namespace tlx::photolibrary
