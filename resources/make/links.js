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
  const show = ({ link, name }, date) => {
    const anchor = make("a", { href: link, target: "_blank", title: link }, make("bdi", {}, shortened(link)));
    if (anchor.protocol === "javascript:") anchor.removeAttribute("href");
    return make("li", {}, anchor, make("span", {}, showName(name), `, ${date}`));
  };
  const heading = /(?:^|\(\d+\)<\/span><\/li>\n\n)\n<h3>([^<]*)<\/h3><ul class="links">\n$/; // behind the contents
  const end = /, (\w+ \w+ \d+, \d\d:\d\d[AP]M)<\/span><\/li>(?:<\/ul>)*(?:\n<h3>([^<]*)<\/h3><ul class="links">)?\n?$/;
  const [head, ...pieces] = text.split('<li><span><a href="');
  const sections = [{ title: heading.exec(head)?.[1] ?? "", entries: [] }];
  for (const piece of pieces) {
    const [tail, date, month] = end.exec(piece) ?? ["", ""];
    const text = tail ? piece.slice(0, -tail.length) : piece;
    const read = readLink(text);
    // Somebody may have made up a heading, so an entry belongs to the last one of its own month.
    const section = sections.findLast(({ title }) => title.split(" ")[0] === date?.split(" ")[1]) ?? sections.at(-1);
    section.entries.push({ item: read ? show(read, date) : make("li", {}, make("bdi", {}, text)), text });
    const next = month ?? heading.exec(piece)?.[1];
    if (next) sections.push({ title: next, entries: [] });
  }
  return sections.filter(({ entries }) => entries.length);
};
