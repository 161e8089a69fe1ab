#include "RenderRequest.h"

namespace pyrelux::job {

const Words<VariableRate> &variableRateWords() {
  static const Words<VariableRate> words{{"resample", VariableRate::Resample}, {"keep", VariableRate::Keep}};
  return words;
}

const Words<AlphaUse> &alphaWords() {
  static const Words<AlphaUse> words{{"straight", AlphaUse::Straight},
                                     {"exact", AlphaUse::Exact},
                                     {"premultiplied", AlphaUse::Premultiplied},
                                     {"none", AlphaUse::None}};
  return words;
}

const Words<media::Fit> &fitWords() {
  static const Words<media::Fit> words{{"cover", media::Fit::Cover},
                                       {"contain", media::Fit::Contain},
                                       {"stretch", media::Fit::Stretch},
                                       {"none", media::Fit::None}};
  return words;
}

}  // namespace pyrelux::job
