import { defineConfig } from 'vite';

// `npm run dev` serves the sources and asks a collector on its default port.
export default defineConfig({
  build: { target: 'es2022', assetsInlineLimit: 0, modulePreload: { polyfill: false } },
  server: {
    proxy: {
      '/api': {
        target: 'http://127.0.0.1:8090',
        headers: { origin: 'http://127.0.0.1:8090' },
        changeOrigin: true,
      },
    },
  },
});
