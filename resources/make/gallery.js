"use strict";
// What people have called themselves and sent stands in the page as it is. So the program's lists stand in a <plaintext>, in
// which browsers look for nothing and which nothing ends. The lists are cut here at the marks that begin their items, each
// piece is read for itself, and what is in it is shown as text. Whoever sends such a mark spoils no items but his own.
const make = (tag, properties, ...children) => {
  const element = Object.assign(document.createElement(tag), properties);
  element.append(...children);
  return element;
};
// In the program's links each character of a name is one %XX, upper case up to U+00FF, else UTF-8 in lower case. Browsers take
// %XX for a byte of UTF-8 and leave %2F alone: they would find neither Jos%E9.html nor Images%2Fa.jpg.
const next = "%[89ab][0-9a-f]";
const escapes = new RegExp(`%[cd][0-9a-f]${next}|%e[0-9a-f](?:${next}){2}|%f[0-7](?:${next}){3}|%2F|%[89A-F][0-9A-F]`, "g");
const mended = target => target.replace(escapes, escape => {
  if (escape === "%2F") return "/";
  if (escape.length > 3) return escape;
  return encodeURIComponent(String.fromCharCode(parseInt(escape.slice(1), 16))).toLowerCase();
});
const decoded = target => {
  try {
    return decodeURIComponent(mended(target));
  } catch { // somebody has made it up
    return target;
  }
};
const showName = name => make("bdi", {}, name || "(no name)");
const readPeople = text => {
  const [, ...pieces] = text.split(/<li( class="active")?><a href="([A-Za-z0-9%]*(?:-images)?\.html)">/);
  const people = [];
  for (let at = 0; at < pieces.length; at += 3) {
    const [active, target, piece] = pieces.slice(at, at + 3);
    // A name may hold an end as well. The right one is where the name has the page's file name, or else the last.
    const page = decoded(target.replace(/(?:-images)?\.html$/, ""));
    const ends = [...piece.matchAll(/<\/a><span class="numb">\((\d+)\)<\/span><\/li>/g)]
      .map(end => ({ name: piece.slice(0, end.index), count: end[1] }));
    const { name, count } = ends.find(end => end.name.replaceAll("/", ":") === page) ?? ends.at(-1) ?? { name: piece, count: "" };
    people.push({ name, count, target: mended(target), isShown: Boolean(active) });
  }
  return people;
};
const showPeople = people => {
  document.querySelector("#contents ul").append(...people.map(({ name, count, target, isShown }) => {
    const link = make("a", { href: target }, showName(name));
    if (isShown) link.setAttribute("aria-current", "page");
    return make("li", { className: isShown ? "active" : "" }, link, make("span", { className: "numb" }, `(${count})`));
  }));
  // scrollIntoView() would have some browsers begin there when the Tab key is pressed.
  const list = document.querySelector("#contents");
  const active = list.querySelector(".active");
  if (active) list.scrollTop = active.getBoundingClientRect().top - list.getBoundingClientRect().top - list.clientHeight / 2;
  const shown = people.findIndex(person => person.isShown);
  if (shown <= 0) return; // the page of all is called what the template calls it
  document.querySelector("h1").replaceChildren(showName(people[shown].name));
  document.title = document.querySelector("h1").textContent;
};
// A section is a month: { title, entries }, an entry { item, text } an element and what it is found by.
const showSections = sections => {
  const years = new Map();
  for (const section of sections) {
    section.heading = make("h3", { id: section.title.replaceAll(" ", "-"), tabIndex: -1 }, section.title);
    section.list = make("ul", { className: listClass }, ...section.entries.map(entry => entry.item));
    const [month, year] = section.title.split(" ");
    section.link = make("a", { href: `#${section.heading.id}`, title: `${section.title} (${section.entries.length})` },
      month.slice(0, 3));
    if (!years.has(year)) years.set(year, make("li", {}, make("b", {}, year ?? "")));
    years.get(year).children[0].after(section.link);
  }
  document.querySelector("main").append(...sections.flatMap(({ heading, list }) => [heading, list]));
  const months = document.querySelector("#months");
  months.querySelector("ul").append(...years.values());
  months.addEventListener("click", event => event.target.closest("a") && months.hidePopover());
  if (location.hash) document.getElementById(location.hash.slice(1))?.scrollIntoView();
};
const comparable = text => text.normalize("NFKD").replace(/\p{M}/gu, "").toUpperCase();
const filterBy = (field, sections) => {
  for (const { entries } of sections) for (const entry of entries) entry.text = comparable(entry.text);
  const total = sections.reduce((sum, { entries }) => sum + entries.length, 0);
  const apply = () => {
    const words = comparable(field.value).split(/\s+/).filter(Boolean);
    let found = 0;
    for (const { heading, list, link, entries } of sections) {
      const before = found;
      for (const { item, text } of entries) {
        item.hidden = !words.every(word => text.includes(word));
        found += !item.hidden;
      }
      heading.hidden = list.hidden = link.hidden = found === before;
    }
    for (const year of document.querySelectorAll("#months li")) year.hidden = !year.querySelector("a:not([hidden])");
    document.querySelector("#found").textContent = words.length ? `${found} of ${total}` : "";
  };
  field.addEventListener("input", apply);
  field.addEventListener("keydown", ({ key }) => {
    if (key === "Enter") document.querySelector(`.${listClass} li:not([hidden]) a[href]`)?.focus();
    if (key !== "Escape" || !field.value) return;
    field.value = "";
    apply();
  });
};
document.addEventListener("DOMContentLoaded", () => {
  const data = document.querySelector("plaintext");
  const text = data.textContent;
  data.remove();
  // The count of the last person, the template's empty line, and the months. Should there be a second such place, somebody has
  // made it up, and each list is looked for in everything.
  const parts = text.split(/(?<=\(\d+\)<\/span><\/li>)\n\n/);
  let [contents, months] = [text, text];
  if (parts.length === 2) {
    [contents, months] = parts;
    contents = contents.replaceAll(months.trimEnd(), token); // somebody was called like the token
  }
  const people = readPeople(contents);
  showPeople(people);
  const sections = readSections(months, people);
  showSections(sections);
  filterBy(document.querySelector("#filter"), sections);
});
