const listClass = "links";
const token = `${"_".repeat(4)}LINKS`;
const readSections = (text, people) => {
  const names = new Set(people.map(person => person.name));
  const shortened = link => link.length > 40 ? `${link.slice(0, 20)} . . . ${link.slice(-20)}`.toWellFormed() : link;
  // The address is shown a second time, shortened, and then comes the sender: that tells where it ends.
  const readLink = piece => {
    const middle = '" target="_blank">';
    let found;
    for (let at = piece.indexOf(middle); at >= 0; at = piece.indexOf(middle, at + 1)) {
      const link = piece.slice(0, at);
      const shown = `${shortened(link)}</a> -- `;
      if (!piece.startsWith(shown, at + middle.length)) continue;
      const read = { link, name: piece.slice(at + middle.length + shown.length) };
      if (names.has(read.name)) return read;
      found ??= read;
    }
    return found;
  };
  const show = (piece, date) => {
    const { link, name } = readLink(piece) ?? {};
    if (link === undefined) return make("li", {}, make("bdi", {}, piece));
    const anchor = make("a", { href: link, target: "_blank", title: link }, make("bdi", {}, shortened(link)));
    if (anchor.protocol === "javascript:") anchor.removeAttribute("href");
    return make("li", {}, anchor, make("span", {}, showName(name), `, ${date}`));
  };
  const [head, ...pieces] = text.split('<li><span><a href="');
  const heading = /\n<h3>([^<]*)<\/h3><ul class="links">\n$/;
  const end = /, (\w+ \w+ \d+, \d\d:\d\d[AP]M)<\/span><\/li>(?:<\/ul>)*(?:\n<h3>([^<]*)<\/h3><ul class="links">)?\n?$/;
  const sections = [{ title: heading.exec(head)?.[1] ?? "", entries: [] }];
  for (const piece of pieces) {
    const [tail, date, next] = end.exec(piece) ?? ["", ""];
    const text = tail ? piece.slice(0, -tail.length) : piece;
    sections.at(-1).entries.push({ item: show(text, date), text });
    if (next) sections.push({ title: next, entries: [] });
  }
  return sections.filter(({ entries }) => entries.length);
};
