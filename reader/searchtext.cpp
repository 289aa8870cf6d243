#include "reader/searchtext.h"

#include <QCoreApplication>

#include <vector>

namespace reader {

using indexing::Question;

namespace {

QString translated(const char *text)
{
    return QCoreApplication::translate("reader", text);
}

struct Term {
    QString filter; ///< what stands before the colon; empty for a word
    QString value;
};

bool isFilter(QStringView name)
{
    return name == u"from" || name == u"with" || name == u"since" || name == u"until" || name == u"has";
}

/// The terms of @p typed. A quote that is not closed goes on to the end: it is being typed.
std::vector<Term> termsOf(QStringView typed)
{
    std::vector<Term> terms;
    Term term;
    bool isQuoted = false;
    bool isStarted = false;
    const auto finish = [&] {
        if (isStarted)
            terms.push_back(term);
        term = {};
        isStarted = false;
    };
    for (const QChar c : typed) {
        if (c == u'"' || c == u'“' || c == u'”') {
            isQuoted = !isQuoted;
            isStarted = true;
        } else if (c.isSpace() && !isQuoted) {
            finish();
        } else if (c == u':' && !isQuoted && term.filter.isEmpty() && isFilter(term.value.toLower())) {
            term.filter = term.value.toLower();
            term.value.clear();
        } else {
            term.value += c;
            isStarted = true;
        }
    }
    finish();
    return terms;
}

void addDate(std::optional<indexing::Period> &period, const QString &value, QString &problem)
{
    period = indexing::Period::fromText(value);
    if (!period && !value.isEmpty())
        problem = translated("“%1” is no date: it should look like 2005, 2005-03 or 2005-03-01.").arg(value);
}

void addContents(indexing::Contents &has, const QString &value, QString &problem)
{
    if (value == u"link")
        has.link = true;
    else if (value == u"file")
        has.file = true;
    else if (value == u"picture")
        has.picture = true;
    else if (!value.isEmpty())
        problem = translated("After “has:” comes link, file or picture.");
}

} // namespace

SearchText SearchText::of(QStringView typed)
{
    SearchText result;
    Question &question = result.question;
    for (const Term &term : termsOf(typed)) {
        const QString folded = indexing::folded(term.value);
        if (term.filter == u"from")
            question.from = folded;
        else if (term.filter == u"with")
            question.with = folded;
        else if (term.filter == u"since")
            addDate(question.since, term.value, result.problem);
        else if (term.filter == u"until")
            addDate(question.until, term.value, result.problem);
        else if (term.filter == u"has")
            addContents(question.has, term.value.toLower(), result.problem);
        else if (!folded.isEmpty())
            question.words.push_back(folded);
    }
    return result;
}

} // namespace reader
