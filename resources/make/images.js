const listClass = "images";
const token = `${"_".repeat(4)}IMAGES`;
// Kinds that browsers show without running anything in them, or hand to another program. Of kinds that they do not know some
// look into the file, and run the scripts of what looks like a page.
const canOpen = new RegExp("\\.(?:jpe?g|jpe|png|gif|bmp|tiff?|webp|avif|hei[cf]|ico|psd|mp[34]|mpe?g|m4[av]|mov|qt|avi|wm[av]|wav|aiff?|" +
  "aac|og[gav]|flac|mid|3gp|mkv|webm|te?xt|rtf|pdf|docx?|xlsx?|pptx?|odt|csv|zip|gz|tgz|bz2|tar|sit|dmg|rar|7z)$", "i");
const readSections = (text, people) => {
  const shown = people.findIndex(person => person.isShown);
  const names = people.slice(1).map(person => person.name.replaceAll("/", ":")).sort((a, b) => b.length - a.length);
  // What the file was called, and who sent it: both are in its name, with the time between them.
  const readName = file => {
    const [, stem, extension] = /^(.*)-\d{4}-\d\d-\d\d \d\d:\d\d:\d\d [-+]\d{4}\.([^.]*)$/s.exec(file) ?? [];
    const sender = shown > 0 ? people[shown].name.replaceAll("/", ":") : names.find(name => stem?.endsWith(`-${name}`));
    if (!stem || !stem.endsWith(`-${sender}`)) return file;
    return stem.slice(0, -sender.length - 1) + (extension && `.${extension}`);
  };
  const show = (target, source) => {
    const file = decoded(target).slice("Images/".length);
    const caption = make("span", {}, readName(file));
    const card = canOpen.test(file)
      ? make("a", { title: file, href: mended(target), target: "_blank" })
      : make("div", { title: `${file}: saved in the folder Images, and not opened from here, as it could run scripts` });
    const picture = make("img", { loading: "lazy", alt: source ? "" : file });
    picture.addEventListener("error", () => {
      card.classList.add("file");
      picture.replaceWith(caption);
    });
    picture.src = source ?? mended(target); // after `loading`, and once: else some browsers load it at once
    card.append(picture, ...(source ? [caption] : []));
    return make("li", {}, card);
  };
  const sections = [];
  const parts = /<h3>([^<]*)<\/h3>\n<table class="images"|<td><a href="(Images%2F[A-Za-z0-9%]*)" target="_blank"><img src="(Images\/pdf\.png)?/g;
  for (const [, title, target, source] of text.matchAll(parts)) {
    if (title !== undefined) sections.push({ title, entries: [] });
    else sections.at(-1)?.entries.push({ item: show(target, source), text: decoded(target) });
  }
  return sections;
};
