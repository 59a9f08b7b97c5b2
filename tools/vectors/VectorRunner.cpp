// Boots, runs, judges. A fault or halt belongs to the case in which it shows.
#include "tools/vectors/VectorRunner.h"

#include <memory>

#include "tools/vectors/Families.h"

namespace {

const VECTOR_FAMILY &FamilyOf(const VectorFile &File) {
  const VECTOR_FAMILY *Family = FindVectorFamily(File.Family);
  if (Family == nullptr) {
    throw VectorError(File.Name, "unknown family \"" + File.Family + "\"; known: " + VectorFamilyNames());
  }
  return *Family;
}

// The failures of one case, joined; empty when it passed.
std::string RunCase(const VECTOR_FAMILY &Family, VectorCase &Case, DriverSession &Session) {
  VectorRun Run(Case, Session);
  const RunOutcome Ended = Session.Run([&] { Family.Run(Run); });
  std::vector<std::string> Failures = Run.Failures();
  if (Ended == RunOutcome::Halted) {
    Failures.push_back("the driver halted the boot");
  }
  for (const std::string &Fault : Session.Firmware().TakeFaults()) {
    Failures.push_back("fault: " + Fault);
  }
  // A case that failed may have left its routine early.
  if (Failures.empty()) {
    Case.RequireAllUsed();
  }
  std::string Text;
  for (const std::string &Failure : Failures) {
    Text += (Text.empty() ? "" : "; ") + Failure;
  }
  return Text;
}

} // namespace

void CheckVectors(const VectorFile &File) {
  FamilyOf(File);
  for (const VectorRecord &Record : File.Records) {
    VectorCase(File, Record);
  }
}

VectorResult RunVectors(const VectorFile &File, const VectorOptions &Options) {
  CheckVectors(File);
  const VECTOR_FAMILY &Family = FamilyOf(File);
  VectorResult Result;
  std::vector<const VectorRecord *> Chosen;
  for (const VectorRecord &Record : File.Records) {
    if (Record.Id.find(Options.IdPart) == std::string::npos) {
      continue;
    }
    if (const VectorCase Case(File, Record); Case.Slow() && !Options.Slow) {
      Result.Skipped.push_back(Case.Place());
    } else {
      Chosen.push_back(&Record);
    }
  }
  std::unique_ptr<DriverSession> Session;
  for (const VectorRecord *Record : Chosen) {
    if (!Session || Family.FreshBoot || Session->Outcome() == BootOutcome::Halted) {
      Session.reset();
      Session = std::make_unique<DriverSession>(Options.Session);
    }
    VectorCase Case(File, *Record);
    const std::string Failure = RunCase(Family, Case, *Session);
    if (Failure.empty()) {
      ++Result.Passed;
    } else {
      ++Result.Failed;
      Result.Failures.push_back(Case.Place() + ": " + Failure);
    }
    if (Options.Progress) {
      Options.Progress(Result.Passed + Result.Failed, Chosen.size());
    }
  }
  return Result;
}
