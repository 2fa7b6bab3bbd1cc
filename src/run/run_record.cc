#include "run/run_record.h"

namespace vq {

const char* CodingWord(Coding coding) {
  switch (coding) {
    case Coding::kContinuous:
      return "CO";
    case Coding::kIpsatized:
      return "IP";
    case Coding::kDichotomous:
      return "DI";
    case Coding::kGuessing:
      return "DC";
    case Coding::kMedianSplit:
      return "CD";
    case Coding::kOrdered:
      return "OR";
    case Coding::kOther:
      break;
  }
  return "other";
}

const char* InputFormWord(InputForm form) {
  switch (form) {
    case InputForm::kRaw:
      return "RAW";
    case InputForm::kCorrelations:
      return "COR";
    case InputForm::kPattern:
      return "FLD1";
    case InputForm::kCorrelatedPattern:
      return "FLD2";
    case InputForm::kOther:
      break;
  }
  return "other";
}

const char* ModelWord(Model model) {
  switch (model) {
    case Model::kComponents:
      return "PCA";
    case Model::kPrincipalFactors:
      return "PFA";
    case Model::kRotate:
      return "ROT";
    case Model::kTriplet:
      return "TRP";
    case Model::kCorrelations:
      return "CMT";
    case Model::kOther:
      break;
  }
  return "other";
}

const char* RotationWord(Rotation rotation) {
  switch (rotation) {
    case Rotation::kVarimax:
      return "VARIMAX";
    case Rotation::kWeightedVarimax:
      return "WVARIMAX";
    case Rotation::kNone:
      return "NONE";
    case Rotation::kOblimin:
      return "OBLIMIN";
    case Rotation::kPromax:
      return "PROMAX";
    case Rotation::kHarrisKaiser:
      return "HK";
    case Rotation::kOneFactor:
      return "one factor";
    case Rotation::kOther:
      break;
  }
  return "other";
}

const char* ScoreMethodWord(ScoreMethod method) {
  switch (method) {
    case ScoreMethod::kRegression:
      return "REG";
    case ScoreMethod::kBartlett:
      return "BART";
    case ScoreMethod::kNoScore:
      return "NOSCORE";
    case ScoreMethod::kNone:
      return "NONE";
    case ScoreMethod::kOther:
      break;
  }
  return "other";
}

const char* InitialCommunalityWord(InitialCommunality start) {
  switch (start) {
    case InitialCommunality::kOne:
      return "ONE";
    case InitialCommunality::kSmc:
      return "SMC";
    case InitialCommunality::kHir:
      return "HIR";
    case InitialCommunality::kOther:
      break;
  }
  return "other";
}

const char* SmoothingWord(Smoothing smoothing) {
  switch (smoothing) {
    case Smoothing::kSmooth:
      return "SM";
    case Smoothing::kShowOnly:
      return "PS";
    case Smoothing::kOther:
      break;
  }
  return "other";
}

const char* ScoreSourceWord(ScoreLoadingSource source) {
  switch (source) {
    case ScoreLoadingSource::kUnrotated:
      return "unrotated";
    case ScoreLoadingSource::kRotated:
      return "rotated";
    case ScoreLoadingSource::kObliqueStructure:
      return "oblique structure";
    case ScoreLoadingSource::kObliquePattern:
      return "oblique pattern";
  }
  return "unrotated";
}

}  // namespace vq
