#include <algorithm>
#include <cstdlib>
#include <random>
#include <set>

#include "tlx/views/AlbumPickerTableViewController.h"

#include "adapters/memory/Pictures.h"
#include "tests/support/PickerSession.h"

namespace tlx::test {
namespace {

using Fault = memory::FaultyImageManager::Fault;

/// A person, a host, a network and a library that do whatever comes to their mind, and an observer who knows what must
/// hold all the same. What the seed makes of it is the same on every machine.
class RandomSession : PickerSession {
 public:
  explicit RandomSession(unsigned seed) : PickerSession({"a", "b", "c", "d", "e", "v1", "v2"}), random_(seed) {
    platform.library.edit([](memory::LibraryContents& contents) {
      contents.addUserAlbum("Sea", {memory::photo("s1"), memory::photo("b")});
    });
    const std::int64_t limits[] = {-1, 1, 2, 3};
    host.limit = limits[below(4)];
    platform.camera.setAnswer(std::nullopt);
    if (below(3) == 0) platform.camera.setStatus(AVAuthorizationStatusNotDetermined);
    host.shouldSelect = [this](std::uint64_t) {
      ++questionsToHost_;
      spinInHost();
      --questionsToHost_;
      return below(8) > 0;
    };
    host.whenFetchingStarts = [this] {
      ++passesSinceDelivery_;
      spinInHost();
    };
    host.whenFinished = [this] { hearDelivery(); };
    open();
  }

  /// What went wrong first and the steps that led there; empty when all went well.
  std::string run() {
    for (int count = 10 + below(40); count > 0 && fault_.empty() && !hostIsDone_; --count) step();
    if (fault_.empty()) comeToRest();
    return fault_.empty() ? "" : fault_ + "\nafter limit " + std::to_string(host.limit) + steps_;
  }

 private:
  int below(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
  std::string any(const Names& names) { return names[static_cast<std::size_t>(below(static_cast<int>(names.size())))]; }
  std::string anyItem() { return any({"a", "b", "c", "d", "e", "v1", "v2", "s1", "saved 1"}); }
  void note(const std::string& what) { steps_ += "\n  " + std::string(2 * depth_, ' ') + what; }
  void expect(bool holds, const std::string& what) {
    if (!holds && fault_.empty()) fault_ = what;
  }
  bool gridIsFree() { return UIViewController::inputReaches(*grid().collectionView()); }
  Names failed() { return namesOf(picker->arrUnsuccessfulMedia()); }
  bool isMarkedAnywhere(const std::string& name) {
    bool marked = false;
    for (std::uint64_t at = 0; const auto album = picker->photoManager->getAlbumModelAtIndex(at); ++at) {
      album->visitMediaModels([&](const MediaModel& model) {
        marked = marked || (model.getMediaIdentifier() == Identifier(name) && model.isModelSelected());
        return true;
      });
    }
    return marked;
  }

  void spinInHost() {
    if (depth_ >= 2 || below(6) > 0) return;
    ++depth_;
    for (int count = 1 + below(4); count > 0 && fault_.empty() && !hostIsDone_; --count) step();
    --depth_;
  }

  void step() {
    switch (below(22)) {
      default:
        return tapAny();
      case 5:
      case 6:
        note("Done");
        pressDone();
        break;
      case 7:
        note("the panel's Cancel");
        panel()->btnCancel.lock()->press();
        break;
      case 8:
        return behaveOtherwise();
      case 9: {
        const auto name = anyItem();
        note(name + " is answered");
        script(name, below(3) > 0 ? memory::ItemScript{} : failing());
        platform.images.release(name);
        break;
      }
      case 10:
        return changeLibrary();
      case 11:
        note("title, or beside the list");
        if (!picker->btnAlbumPicker.lock()->press()) platform.presentation.pressOutside();
        break;
      case 12: {
        const int row = below(2);
        note("album " + std::to_string(row));
        std::dynamic_pointer_cast<AlbumPickerTableViewController>(list())->tableView()->tappedAt({0, row});
        break;
      }
      case 13:
        note("camera");
        if (gridIsFree()) picker->btnCameraPressed();
        break;
      case 14:
        return useCamera();
      case 15:
      case 16:
        if (const auto alert = platform.presentation.alert()) answer(*alert);
        break;
      case 17:
        note("a screen of the host's");
        if (const auto shown = hostsScreen_.lock()) {
          shown->leave(true, nullptr);
        } else if (gridIsFree()) {
          const auto screen = std::make_shared<UIViewController>();
          hostsScreen_ = screen;
          picker->presentViewController_animated_completion(screen, true, nullptr);
        }
        break;
      case 18:
      case 19:
      case 20: {
        const double seconds[] = {0.02, 0.1, 0.21, 0.26, 1, 3};
        const double wait = seconds[below(6)];
        note("wait " + std::to_string(wait));
        platform.advance(wait);
        break;
      }
      case 21:
        note("network on or off");
        platform.reachability.setFlags(below(2) ? kSCNetworkReachabilityFlagsReachable : SCNetworkReachabilityFlags{});
        break;
    }
    observe();
  }

  void tapAny() {
    const auto album = grid().albumModel;
    if (!album || album->getMediaCount() == 0) return;
    const auto at = below(static_cast<int>(album->getMediaCount()));
    const auto name = album->getMediaModelAtIndex(static_cast<std::uint64_t>(at))->getMediaIdentifier().string();
    note("tap " + name);
    const bool reached = gridIsFree();
    const bool taken = grid().collectionView()->tappedAt({0, at});
    expect(reached || !taken, "a tap got through to a grid that is covered");
    if (taken) isMarkedAnywhere(name) ? unwanted_.erase(name) : unwanted_.insert(name).second;
    observe();
  }

  void behaveOtherwise() {
    const auto name = anyItem();
    const int kind = below(6);
    note(name + " will " + Names{"come", "fail", "fail offline", "stall", "download", "answer oddly"}[kind]);
    const memory::ItemScript scripts[] = {{}, failing(), failingInTheCloud(), stalling(), downloading({0.2, 0.7}, 2)};
    if (kind < 5) return script(name, scripts[kind]);
    const Fault faults[] = {Fault::AnswerTwice, Fault::AnswerAfterCancel, Fault::AnswerElsewhere};
    platform.faults.plan(1 + below(8), faults[below(3)]);
  }

  void changeLibrary() {
    const auto name = any({"a", "b", "c", "d", "e", "v1", "v2", "s1"});
    const bool there = platform.library.contents()->find(name) != nullptr;
    note((there ? "delete " : "add ") + name);
    platform.library.change([&](memory::LibraryContents& contents) {
      if (there) {
        contents.remove({name});
      } else {
        contents.add(name.front() == 'v' ? memory::video(name) : memory::photo(name), {"Camera Roll"});
      }
    });
    platform.runUntilIdle();
    if (host.deliveries.empty()) there ? void(gone_.insert(name)) : void(gone_.erase(name));
    observe();
  }

  void useCamera() {
    const int what = below(6);
    note("camera: " + Names{"allowed", "refused", "photo", "video", "leave", "nothing can be saved"}[what]);
    if (what < 2) platform.camera.answer(what == 0);
    if (what == 2) platform.camera.takePhoto(memory::solidPicture(4, 3, 0x208040));
    if (what == 3) platform.camera.takeVideo({"/1.mp4", {{AVMediaTypeVideo, "h264", 1280, 720, 3}}, 3, nullptr});
    if (what == 4) platform.camera.cancel();
    if (what == 5) platform.library.setSaveError(NSError{kPhotoLibraryErrorDomain, 7, "Full"});
    observe();
  }

  void answer(UIAlertController& alert) {
    const auto choice = static_cast<std::size_t>(below(static_cast<int>(alert.actions().size())));
    note("answer " + alert.actions()[choice]->title());
    alert.perform(choice);
  }

  // What holds at every moment.
  void observe() {
    if (!picker) return;
    const Names now = picked(), failures = failed();
    expect(std::set(now.begin(), now.end()).size() == now.size(), "an item is picked twice");
    expect(host.limit < 0 || now.size() <= static_cast<std::size_t>(host.limit), "more is picked than is allowed");
    for (const auto& name : failures) {
      expect(!testing::Value(now, testing::Contains(name)), name + " failed and is picked");
      expect(!unwanted_.count(name) && !gone_.count(name), name + " failed, though nobody wants it");
    }
    Names before, after;
    std::ranges::copy_if(before_, std::back_inserter(before),
                         [&](const auto& name) { return testing::Value(now, testing::Contains(name)); });
    std::copy_n(now.begin(), before.size(), std::back_inserter(after));
    expect(before == after, "the picked items changed their order");
    before_ = now;
  }

  void hearDelivery() {
    const MediaList& media = host.deliveries.back();
    note("delivered " + testing::PrintToString(namesOf(media)));
    observe();
    expect(std::exchange(passesSinceDelivery_, 0) > 0, "delivered twice");
    const auto shown = picker->presentedViewController();
    expect(!shown || shown->isBeingDismissed() || shown == hostsScreen_.lock(),
           "a screen of the picker's own would take the host's dismissal");
    expect(namesOf(media) == picked() || questionsToHost_ > 0, "something picked was not delivered");
    for (const auto& each : media) {
      const auto name = each->getMediaIdentifier().string();
      expect(each->fetchCompletionStatus() == FetchCompletionStatusFetched &&
                 (each->getMediaImage() || each->getMediaVideoAsset()),
             name + " was delivered without having been fetched");
      expect(!unwanted_.count(name) && (!gone_.count(name) || host.deliveries.size() > 1),
             name + " was delivered though nobody wants it");
      expect(delivered_.insert(each).second, name + " was delivered twice");
    }
    spinInHost();
    if (below(2)) return;
    hostIsDone_ = true;
    platform.application.host()->dismissViewControllerAnimated_completion(below(2), nullptr);
  }

  void settleEverything() {
    for (int round = 0; round < 4; ++round) {
      if (const auto screen = hostsScreen_.lock()) screen->leave(true, nullptr);
      platform.camera.cancel();
      platform.presentation.pressOutside();
      for (const auto& name : {"a", "b", "c", "d", "e", "v1", "v2", "s1", "saved 1", "saved 2", "saved 3"}) {
        if (healed_) script(name, {});
        platform.images.release(name);
      }
      platform.advance(4);
      observe();
    }
  }

  // What holds when nothing moves any more.
  void comeToRest() {
    platform.camera.answer(true);
    for (const bool healed : {false, true}) {
      healed_ = healed;
      platform.images.setDefaultScript({});
      for (int round = 0; round < 8 && fault_.empty() && !hostIsDone_; ++round) {
        settleEverything();
        note("at rest");
        if (hostIsDone_ || !fault_.empty()) break;
        const auto alert = platform.presentation.alert();
        const auto done = picker->btnDone.lock();
        expect(failed().empty() || alert, "a question was lost");
        expect(!overlayIsShown(), "the panel stays");
        expect(alert || gridIsFree(), "the grid is covered for good");
        expect(alert || picked().empty() || done->canBeOperated(), "Done stays disabled");
        if (alert) {
          answer(*alert);
        } else if (!picked().empty()) {
          note("Done");
          const auto deliveries = host.deliveries.size();
          done->press();
          settleEverything();
          expect(host.deliveries.size() > deliveries || platform.presentation.alert(), "Done led nowhere");
        }
      }
    }
    if (!hostIsDone_) return;
    platform.advance(4);
    expect(platform.presentation.top() == nullptr, "something stays on the screen when the picker has gone");
  }
  std::mt19937 random_;
  std::string fault_, steps_;
  std::size_t depth_ = 0;
  int questionsToHost_ = 0, passesSinceDelivery_ = 0;
  bool hostIsDone_ = false, healed_ = false;
  std::weak_ptr<UIViewController> hostsScreen_;
  Names before_;
  std::set<std::string> unwanted_, gone_;
  std::set<std::shared_ptr<Media>> delivered_;
};

// TLX_SESSIONS makes it more sessions, TLX_SESSION_SEED others.
TEST(RandomSessions, NeitherLoseNorInventAnything) {
  const auto number = [](const char* name, unsigned otherwise) {
    const char* const text = std::getenv(name);
    return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
  };
  const unsigned first = number("TLX_SESSION_SEED", 1);
  int faults = 0;
  for (unsigned seed = first; seed < first + number("TLX_SESSIONS", 2000) && faults < 3; ++seed) {
    const std::string fault = RandomSession(seed).run();
    EXPECT_EQ(fault, "") << "TLX_SESSION_SEED=" << seed << " TLX_SESSIONS=1";
    faults += !fault.empty();
  }
}

}  // namespace
}  // namespace tlx::test
