// The documentation site: the repository's Markdown files as they are, the README as the front page.
// Links among them stay relative; links to other files of the repository lead to its address.

import fs from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { defineConfig } from 'vitepress';

const require = createRequire(import.meta.url);
const metadata = require('../../../package.json');
const { root } = require('../../../tools/lib/project');
const { slugOf } = require('../../../tools/lib/package_links');

const repository = metadata.repository.url.replace(/^git\+|\.git$/g, '');

/** Groups of the sidebar: files by title. Lint checks that no document is missing. */
const GROUPS = require('../pages.json');
const TITLES = new Map(
  Object.values(GROUPS).flatMap((pages) =>
    Object.entries(pages).map(([title, file]) => [file, title]),
  ),
);
const linkOf = (file) => `/${file.replace(/(^README)?\.md$/, '')}`;

/**
 * Gives links whose text is the name of a page's file the page's title, and lets links to files that
 * are no pages lead to the repository.
 */
function adaptLinks(markdown) {
  markdown.core.ruler.push('adapt-links', ({ tokens, env }) => {
    const folder = path.dirname(path.relative(root, env.path));
    for (const { children } of tokens) {
      children?.forEach((token, index) => {
        const target = token.type === 'link_open' ? token.attrGet('href') : '#';
        if (/^([a-z][\w+.-]*:|#)/i.test(target)) return;
        const file = path.posix.join(folder, target.replace(/#.*/, ''));
        if (TITLES.has(file)) {
          const text = children[index + 1];
          if (text.content.endsWith('.md')) text.content = TITLES.get(file);
          return;
        }
        if (!fs.existsSync(path.join(root, file))) throw new Error(`${env.path}: no ${file}`);
        const kind = file.endsWith('/') ? 'tree' : 'blob';
        token.attrSet('href', `${repository}/${kind}/main/${file}`);
      });
    }
  });
}

/** Pages are compiled to modules that import Vue, and are outside of the folder that has it. */
const vueOfThisFolder = {
  name: 'vue-of-this-folder',
  enforce: 'pre',
  resolveId(name, importer, options) {
    if (!/^vue(\/|$)/.test(name) || !importer?.endsWith('.md')) return undefined;
    return this.resolve(name, fileURLToPath(import.meta.url), { ...options, skipSelf: true });
  },
};

export default defineConfig({
  title: metadata.name,
  description: metadata.description,
  lang: 'en',
  srcDir: '../..',
  srcExclude: [
    ...['bench', 'build', 'docs/site', 'examples', 'lib', 'sdk', 'src', 'test', 'tools'].map(
      (folder) => `${folder}/**`,
    ),
  ],
  rewrites: { 'README.md': 'index.md' },
  outDir: '../../build/docs',
  cacheDir: '../../build/docs-cache',
  vite: { plugins: [vueOfThisFolder] },
  cleanUrls: true,
  markdown: {
    anchor: { slugify: slugOf },
    config: adaptLinks,
  },
  themeConfig: {
    siteTitle: 'LumoLivePush',
    nav: [
      { text: 'API', link: '/docs/api' },
      { text: 'Events', link: '/docs/events' },
      { text: `Version ${metadata.version}`, link: '/CHANGELOG' },
    ],
    sidebar: Object.entries(GROUPS).map(([text, pages]) => ({
      text,
      items: Object.entries(pages).map(([title, file]) => ({ text: title, link: linkOf(file) })),
    })),
    outline: [2, 3],
    search: { provider: 'local' },
    socialLinks: [{ icon: 'github', link: repository }],
  },
});
