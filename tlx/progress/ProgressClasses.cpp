#include "tlx/progress/ProgressClasses.h"

#include "tlx/progress/CERoundProgressView.h"
#include "tlx/progress/TLXDownloadProgress.h"

namespace tlx {

void registerProgressClasses() {
  registerClass(CERoundProgressView::classObject());
  registerClass(TLXDownloadProgress::classObject());
}

}  // namespace tlx
