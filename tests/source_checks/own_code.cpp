// A check for clang-tidy that finds nothing: it keeps the others from matching what the system's
// headers declare, whose findings are never shown and took most of the time.
#include <clang-tidy/ClangTidyCheck.h>
#include <clang-tidy/ClangTidyModule.h>
#include <clang-tidy/ClangTidyModuleRegistry.h>
#include <clang/AST/ASTContext.h>
#include <clang/ASTMatchers/ASTMatchFinder.h>
#include <vector>

namespace {
class OwnCode : public clang::tidy::ClangTidyCheck {
  public:
    using ClangTidyCheck::ClangTidyCheck;

    void registerMatchers(clang::ast_matchers::MatchFinder* finder) override
    {
        finder->addMatcher(clang::ast_matchers::translationUnitDecl().bind("all"), this);
    }

    // Called before anything in the translation unit is visited.
    void check(const clang::ast_matchers::MatchFinder::MatchResult& found) override
    {
        std::vector<clang::Decl*> own;
        for (clang::Decl* const each : found.Context->getTranslationUnitDecl()->decls())
            if (!found.SourceManager->isInSystemHeader(each->getLocation())) own.push_back(each);
        found.Context->setTraversalScope(own);
    }
};

class OwnCodeModule : public clang::tidy::ClangTidyModule {
  public:
    void addCheckFactories(clang::tidy::ClangTidyCheckFactories& factories) override
    {
        factories.registerCheck<OwnCode>("own-code");
    }
};

const clang::tidy::ClangTidyModuleRegistry::Add<OwnCodeModule>
    REGISTERED("own-code", "Keeps the other checks from the system's headers.");
} // namespace
