#pragma once

#include <cstdint>
#include <memory>

#include "tlx/platform/uikit/UIButton.h"
#include "tlx/platform/uikit/UILabel.h"
#include "tlx/platform/uikit/UIView.h"
#include "tlx/progress/CERoundProgressView.h"

namespace tlx {

class TLXDownloadProgressDelegate {
 public:
  virtual ~TLXDownloadProgressDelegate() = default;
  /// The person wants no more to be fetched. The panel has changed its looks already.
  virtual void cancelDownload() = 0;
};

/// The panel over the picker while picked items are fetched. Comes out of the interface file "TLXDownloadProgress".
/// Main thread only.
class TLXDownloadProgress : public UIView {
 public:
  static const Class& classObject();

  void initWithCoder() override;
  void awakeFromNib() override;
  /// The indicator's colours, and no progress.
  void initializaion();
  /// Puts on the look of importing, then tells the delegate.
  void btnDownloadCancelPressed(const std::shared_ptr<UIButton>& sender);
  /// "3/10".
  void updateCompletionCount_totalCount(std::int64_t done, std::int64_t total);
  /// Puts on the look of downloading.
  void showCancelBtn();

  TLXDownloadProgressDelegate* customDelegate = nullptr;  // unretained: whoever sets it clears it in its destructor
  /// Written by the delegate.
  std::weak_ptr<UILabel> lblDownloadProgress;
  std::weak_ptr<CERoundProgressView> viewDownloadProgress;
  std::weak_ptr<UILabel> lblCompletionCount;
  std::weak_ptr<UIButton> btnCancel;
  std::weak_ptr<UILabel> lblHeader1;
  std::weak_ptr<UILabel> lblHeader2;

 private:
  void setHeaders(const char* first, const char* second);
};

}  // namespace tlx
