"""Files that are no pictures: a one-page PDF, a plain text."""


def pdf(title, lines):
    """A page of text in Helvetica; ASCII only."""
    text = [f"BT /F1 20 Tf 60 700 Td ({escaped(title)}) Tj ET"]
    text += [f"BT /F1 12 Tf 60 {660 - 18 * number} Td ({escaped(line)}) Tj ET" for number, line in enumerate(lines)]
    content = "\n".join(text)
    bodies = [
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents 4 0 R "
        "/Resources << /Font << /F1 5 0 R >> >> >>",
        f"<< /Length {len(content)} >>\nstream\n{content}\nendstream",
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
    ]
    document = "%PDF-1.3\n"
    offsets = []
    for number, body in enumerate(bodies, start=1):
        offsets.append(len(document))
        document += f"{number} 0 obj\n{body}\nendobj\n"
    table = len(document)
    document += f"xref\n0 {len(bodies) + 1}\n0000000000 65535 f \n"
    document += "".join(f"{offset:010} 00000 n \n" for offset in offsets)
    document += f"trailer\n<< /Size {len(bodies) + 1} /Root 1 0 R >>\nstartxref\n{table}\n%%EOF\n"
    return document.encode("ascii")


def escaped(text):
    return text.replace("\\", "\\\\").replace("(", "\\(").replace(")", "\\)")


def plain_text(*lines):
    return "".join(line + "\n" for line in lines).encode("utf-8")
