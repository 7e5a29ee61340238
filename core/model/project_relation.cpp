#include "core/model/project_relation.h"

#include "core/text/core_strings.h"

namespace brindle {

std::string ProjectRelation::headline() const {
    return isProven() ? localized("Same repository") : localized("Possibly related");
}

std::string ProjectRelation::evidence() const {
    switch (basis) {
        case Basis::sharedRemote:
            return localized("Checks out the same repository as %@ (%@)", otherName, detail);
        case Basis::sameDeclaredName:
            return localized("Declares the same name as %@ (%@)", otherName, detail);
        case Basis::sameFolderName:
            return localized("Another folder is also called %@", detail);
        case Basis::variantOf:
            return localized("Named like a variant of %@", otherName);
        case Basis::hasVariant:
            return localized("%@ is named like a copy of this one", otherName);
        case Basis::sharedStem:
            return localized("Named like %@, from the same stem %@", otherName, detail);
    }
    return "";
}

}  // namespace brindle
